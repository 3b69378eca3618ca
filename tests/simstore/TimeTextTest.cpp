// Date-time texts to wall time and back.
#include "StoreFixture.h"

namespace kerrow::sim::test {
namespace {

TEST(SimTimeTextTest, TextsReadAndWriteTheSameInstant) {
    struct Case {
        const char* text;
        bool valid;
        int64_t wall;  // when valid
        const char* written;
    };
    const Case cases[] = {
        {"1970-01-01 00:00:00", true, 0, "1970-01-01 00:00:00"},
        {"2026-11-23 12:00:00", true, 1795435200, "2026-11-23 12:00:00"},
        {"2024-02-29 23:59:59", true, 1709251199, "2024-02-29 23:59:59"},
        {"2000-03-01 00:00:00", true, 951868800, "2000-03-01 00:00:00"},
        {"1969-12-31 23:59:59", true, -1, "1969-12-31 23:59:59"},
        {" 999-01-02 03:04:05", true, -30641662555, "0999-01-02 03:04:05"},
        {"2023-02-29 00:00:00", false, 0, ""},
        {"2100-02-29 00:00:00", false, 0, ""},
        {"0000-00-00 00:00:00", false, 0, ""},
        {"2026-13-01 00:00:00", false, 0, ""},
        {"2026-11-23 24:00:00", false, 0, ""},
        {"2026-11-23 12:00", false, 0, ""},
        {"2026/11/23 12:00:00", false, 0, ""},
        {"2026-1a-23 12:00:00", false, 0, ""},
        {"", false, 0, ""},
    };
    for (const Case& c : cases) {
        int64_t wall = 12345;
        EXPECT_EQ(ParseWallTime(c.text, &wall), c.valid) << c.text;
        if (c.valid) {
            EXPECT_EQ(wall, c.wall) << c.text;
            EXPECT_EQ(FormatWallTime(wall), c.written);
        }
    }
}

}  // namespace
}  // namespace kerrow::sim::test
