// Files, clocks, socket start and errors, and the built-in version block.
#include <errno.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstring>
#include <string>

#include "platform/Clock.h"
#include "platform/Files.h"
#include "platform/Sockets.h"
#include "platform/Thread.h"
#include "platform/Version.h"

namespace kerrow::platform {
namespace {

// Each test process runs in a fresh directory of its own.
TEST(FilesTest, LibraryPathsSizesAttributesAndHandles) {
    ASSERT_EQ(MakeDirectory(".\\dir"), 0);
    EXPECT_EQ(MakeDirectory("dir"), -1);  // already there
    int32_t out = CreateFileForWrite(".\\dir\\clip");
    EXPECT_EQ(WriteFile(out, "0123456789", 10), 10);
    CloseFile(out);
    out = CreateFileForWrite("dir/clip");  // truncated
    EXPECT_EQ(WriteFile(out, "abcdef", 6), 6);
    CloseFile(out);
    CloseFile(CreateFileForWrite("dir\\locked"));
    ASSERT_EQ(chmod("dir/locked", 0444), 0);

    struct {
        const char* path;
        bool found;
        uint32_t attribute;
        int32_t size;
    } const cases[] = {
        {".", true, kAttributeDirectory, 0}, {".\\dir", true, kAttributeDirectory, 0},
        {"dir\\clip", true, 32, 6},          {"dir\\locked", true, 33, 0},
        {"dir\\missing", false, 0, -1},
    };
    for (const auto& c : cases) {
        uint32_t attribute = 0;
        EXPECT_EQ(FindFirstAttribute(c.path, &attribute), c.found) << c.path;
        EXPECT_EQ(attribute, c.attribute) << c.path;
        EXPECT_EQ(FileSize32(c.path), c.size) << c.path;
    }

    const int32_t in = OpenFileForRead(".\\dir\\clip");
    char buffer[16] = {};
    EXPECT_EQ(ReadFile(in, buffer, 4), 4);
    EXPECT_EQ(ReadFile(in, buffer + 4, sizeof(buffer) - 4), 2);
    EXPECT_EQ(ReadFile(in, buffer, sizeof(buffer)), 0);  // end of file
    EXPECT_STREQ(buffer, "abcdef");
    CloseFile(in);
    EXPECT_EQ(OpenFileForRead("dir"), kInvalidFileHandle);  // a directory is no file
    EXPECT_EQ(CreateFileForWrite("missing\\file"), kInvalidFileHandle);
}

BrokenTime Broken(int year, int month, int day) {
    BrokenTime t{};
    t.tm_year = year - 1900;
    t.tm_mon = month - 1;
    t.tm_mday = day;
    return t;
}

TEST(ClockTest, LocalTimeSecondsAndConversionAgree) {
    const int64_t before = Time64();
    SystemTime now{};
    GetLocalTime(&now);
    BrokenTime broken = Broken(now.wYear, now.wMonth, now.wDay);
    broken.tm_hour = now.wHour;
    broken.tm_min = now.wMinute;
    broken.tm_sec = now.wSecond;
    broken.tm_isdst = -1;  // whatever holds locally now
    const int64_t converted = MkTime64(&broken);
    EXPECT_GE(converted, before);
    EXPECT_LE(converted, Time64());
    EXPECT_EQ(broken.tm_wday, now.wDayOfWeek);

    BrokenTime overflow = Broken(2013, 12, 32);  // normalised to 2014-01-01
    BrokenTime newYear = Broken(2014, 1, 1);
    EXPECT_EQ(MkTime64(&overflow), MkTime64(&newYear));
    EXPECT_EQ(overflow.tm_year * 100 + overflow.tm_mon * 10 + overflow.tm_mday, 11401);
    // Beyond the 32-bit seconds of 2038 on every build; nothing before 1970
    // or after 3000.
    BrokenTime late = Broken(2040, 1, 1), early = Broken(1969, 6, 1), far = Broken(3001, 6, 1);
    EXPECT_GT(MkTime64(&late), int64_t{INT32_MAX});
    EXPECT_EQ(MkTime64(&early), -1);
    EXPECT_EQ(MkTime64(&far), -1);
}

TEST(SocketsTest, StartsAreCountedAndVersionsGranted) {
    // Low byte the major version, high byte the minor.
    const uint16_t requests[][2] = {{0x0202, 0x0202}, {0x0303, 0x0202}, {0x0101, 0x0101}};
    const int count = SocketStartCount();
    for (const auto& r : requests) {
        uint16_t granted = 0;
        EXPECT_EQ(WSAStartup(r[0], &granted), 0);
        EXPECT_EQ(granted, r[1]);
    }
    uint16_t granted = 0;
    EXPECT_EQ(WSAStartup(0x0200, &granted), 10092);  // version 0.2
    EXPECT_EQ(SocketStartCount(), count + 3);
    for (int i = 0; i < 3; ++i) EXPECT_EQ(WSACleanup(), 0);
    EXPECT_EQ(SocketStartCount(), count);
    if (count == 0) {
        EXPECT_EQ(WSACleanup(), kSocketError);  // more cleanups than starts
    }
}

uint32_t SetOtherError(void*) {
    WSASetLastError(kWsaEConnReset);
    return 0;
}

TEST(SocketsTest, ErrnoIsNumberedAsWindowsSocketsPerThread) {
    const int cases[][2] = {
        {0, 0},
        {EAGAIN, kWsaEWouldBlock},
        {ECONNREFUSED, kWsaEConnRefused},
        {EPIPE, kWsaEConnReset},
        // Unnumbered errors stay clear of every Windows Sockets number: 35
        // must not read as 10035 (would block).
        {EDEADLK, 20000 + EDEADLK},
    };
    for (const auto& c : cases) {
        errno = c[0];
        RecordSocketError();
        EXPECT_EQ(WSAGetLastError(), c[1]) << "errno " << c[0];
    }
    WSASetLastError(kWsaEWouldBlock);
    ASSERT_EQ(Thread::Create(SetOtherError, nullptr)->Wait(kInfinite), WaitResult::Signaled);
    EXPECT_EQ(WSAGetLastError(), kWsaEWouldBlock);
}

TEST(VersionTest, TheLibraryCarriesItsVersionBlock) {
    EXPECT_EQ(GetFileVersionInfoSize("other.dll"), 0u);
    const uint32_t size = GetFileVersionInfoSize("C:\\app\\kerrowsdk.DLL");
    ASSERT_GT(size, sizeof(FixedFileInfo));
    std::string block(size, '\0');
    ASSERT_TRUE(GetFileVersionInfo("KerrowSDK.dll", size, block.data()));
    void* value = nullptr;
    uint32_t length = 0;
    ASSERT_TRUE(VerQueryValue(block.data(), "\\", &value, &length));
    ASSERT_EQ(length, sizeof(FixedFileInfo));
    FixedFileInfo info;
    std::memcpy(&info, value, sizeof(info));
    EXPECT_EQ(info.dwSignature, 0xFEEF04BDu);
    EXPECT_EQ(info.dwFileVersionMS, uint32_t{KERROW_VERSION_MAJOR} << 16 | KERROW_VERSION_MINOR);
    EXPECT_EQ(info.dwFileVersionLS, uint32_t{KERROW_VERSION_PATCH} << 16);
}

}  // namespace
}  // namespace kerrow::platform
