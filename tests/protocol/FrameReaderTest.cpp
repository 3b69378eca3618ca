// The frame reader: streams cut into messages under the three limit sets,
// whatever the sizes of the pieces the bytes arrive in, and a buffer that
// grows with the bytes that came, never with a total a head announced.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

#include "protocol/Envelope.h"
#include "protocol/FrameReader.h"

namespace kerrow {
namespace {

// A message: the 110-byte head with the given type digits, then the body;
// the total stamped at offset 55 unless digits are given.
std::string Frame(const std::string& type, const std::string& body, const char* digits = nullptr) {
    std::string message =
        "<?xml version=\"1.0\" encoding=\"UTF-8\" ?>\n"
        "<ContentLength>00000000</ContentLength>\n<ContentType>" +
        type + "</ContentType>\n" + body;
    char text[16];
    std::snprintf(text, sizeof text, "%08lu", static_cast<unsigned long>(message.size()));
    message.replace(kLengthOffset, kLengthDigits, digits != nullptr ? digits : text, kLengthDigits);
    return message;
}

// The shortest message any reader takes: 64 bytes, type digits beyond it.
std::string Smallest() {
    std::string m = Frame("00", "").substr(0, 64);
    m.replace(kLengthOffset, kLengthDigits, "00000064");
    return m;
}

// What Next() answered, one word per answer other than NeedMore:
// "M<total>/<type>" for a message, "R<total>" for a rejected head.
using Events = std::vector<std::string>;

enum class Way { Feed, PrepareCommit, Wanted };

// Puts the stream in, piece by piece (sizes repeat; 0 means all at once),
// calling Next() after each piece until it needs more. Way::Wanted reads as
// a control reply wait does: never more than the current message lacks.
Events Drive(const FrameLimits& limits, const std::string& stream, const std::vector<size_t>& sizes,
             Way way, std::string* bytes = nullptr) {
    FrameReader reader(limits);
    Events events;
    size_t at = 0;
    size_t turn = 0;
    auto drain = [&] {
        for (;;) {
            const FrameReader::Result r = reader.Next();
            if (r == FrameReader::Result::NeedMore) return;
            if (r == FrameReader::Result::Rejected) {
                events.push_back("R" + std::to_string(reader.Total()));
                continue;
            }
            events.push_back("M" + std::to_string(reader.Total()) + "/" +
                             std::to_string(reader.ContentType()));
            if (bytes != nullptr)
                bytes->append(reader.Message(), static_cast<size_t>(reader.Total()));
        }
    };
    while (at < stream.size()) {
        size_t piece = sizes.empty() || sizes[turn++ % sizes.size()] == 0
                           ? stream.size() - at
                           : sizes[(turn - 1) % sizes.size()];
        piece = std::min(piece, stream.size() - at);
        switch (way) {
            case Way::Feed:
                reader.Feed(stream.data() + at, piece);
                break;
            case Way::PrepareCommit: {
                char* space = nullptr;
                const size_t room = reader.Prepare(piece, &space);
                EXPECT_GE(room, std::min(piece, FrameReader::kGrowStep));
                EXPECT_LE(room, piece);
                piece = room;
                std::copy(stream.data() + at, stream.data() + at + piece, space);
                reader.Commit(piece);
                break;
            }
            case Way::Wanted: {
                const size_t wanted = reader.Wanted();
                EXPECT_GT(wanted, 0u);
                piece = std::min(piece, wanted);
                char* space = nullptr;
                piece = std::min(piece, reader.Prepare(piece, &space));
                std::copy(stream.data() + at, stream.data() + at + piece, space);
                reader.Commit(piece);
                break;
            }
        }
        at += piece;
        drain();
    }
    return events;
}

TEST(FrameReader, CutsStreamsUnderEachLimitSetWhateverThePieces) {
    const std::string notice = Frame("00", "<Method>508</Method>\n");
    const std::string header = Frame("01", "HDR");
    const std::string largest = Frame("04", std::string(40960 - 110, 'd'));
    const std::string tooLong = Frame("02", std::string(40961 - 110, 'x'));
    const std::string result10240 = Frame("00", std::string(10240 - 110, ' '));
    const std::string result10241 = Frame("00", std::string(10241 - 110, ' '));
    const std::string t63 = Frame("02", "abc", "00000063");
    const std::string t12x = Frame("02", "abc", "0000012x");
    const std::string signedTotal = Frame("02", "abc", "-0000200");
    const std::string blanks = Frame("00", std::string(100, ' '), "   00210");

    struct Case {
        const char* name;
        FrameLimits limits;
        std::string stream;
        Events expected;
    };
    const Case cases[] = {
        {"one control message",
         kResultWaitLimits,
         notice,
         {"M" + std::to_string(notice.size()) + "/0"}},
        {"64 is the smallest total", kTransferLimits, Smallest(), {"M64/0"}},
        {"63 is rejected", kTransferLimits, t63, {"R63"}},
        {"12x reads as 12", kDocumentWaitLimits, t12x, {"R12"}},
        {"a negative total", kDocumentWaitLimits, signedTotal, {"R-200"}},
        {"blanks before the digits", kDocumentWaitLimits, blanks, {"M210/0"}},
        {"three in a row",
         kTransferLimits,
         header + notice + largest,
         {"M113/1", "M" + std::to_string(notice.size()) + "/0", "M40960/4"}},
        {"40961 ends a transfer", kTransferLimits, tooLong.substr(0, 63), {"R40961"}},
        {"a result wait takes 10240", kResultWaitLimits, result10240, {"M10240/0"}},
        {"but not 10241", kResultWaitLimits, result10241.substr(0, 63), {"R10241"}},
        {"a document wait has no upper limit", kDocumentWaitLimits, tooLong, {"M40961/2"}},
        {"a rejected head leaves the rest as the next message",
         kDocumentWaitLimits,
         t63.substr(0, 63) + notice,
         {"R63", "M" + std::to_string(notice.size()) + "/0"}},
        {"an incomplete message is not given",
         kTransferLimits,
         notice.substr(0, notice.size() - 1),
         {}},
        {"nor an incomplete head", kTransferLimits, notice.substr(0, 62), {}},
    };
    const std::vector<std::vector<size_t>> pieces = {{0}, {1}, {62, 1}, {63}, {7, 100, 3}, {65536}};
    for (const Case& c : cases) {
        for (const auto& sizes : pieces) {
            for (Way way : {Way::Feed, Way::PrepareCommit}) {
                SCOPED_TRACE(std::string(c.name) + ", pieces of " + std::to_string(sizes[0]) +
                             (way == Way::Feed ? ", fed" : ", prepared"));
                std::string bytes;
                EXPECT_EQ(c.expected, Drive(c.limits, c.stream, sizes, way, &bytes));
                if (!c.expected.empty() && c.expected[0][0] == 'M' && c.expected.size() == 1) {
                    EXPECT_EQ(c.stream, bytes);
                }
            }
        }
    }
}

TEST(FrameReader, WantedNeverReachesIntoTheNextMessage) {
    const std::string a = Frame("00", "<Method>1</Method>\n");
    const std::string b = Frame("02", std::string(5000, 'b'));
    FrameReader reader(kResultWaitLimits);
    EXPECT_EQ(63u, reader.Wanted());
    reader.Feed(a.data(), 10);
    EXPECT_EQ(53u, reader.Wanted());
    reader.Feed(a.data() + 10, 53);
    EXPECT_EQ(a.size() - 63, reader.Wanted());
    reader.Feed(a.data() + 63, a.size() - 63);
    EXPECT_EQ(0u, reader.Wanted());
    ASSERT_EQ(FrameReader::Result::Message, reader.Next());
    EXPECT_EQ(63u, reader.Wanted());

    // Read as a control wait reads, the second message is cut the same way.
    for (const std::vector<size_t>& sizes : {std::vector<size_t>{1}, {0}, {100}}) {
        EXPECT_EQ(
            (Events{"M" + std::to_string(a.size()) + "/0", "M" + std::to_string(b.size()) + "/2"}),
            Drive(kDocumentWaitLimits, a + b, sizes, Way::Wanted));
    }
    // A rejected head: Wanted is 0 until Next() has said so.
    const std::string bad = Frame("00", "x", "00010241");
    FrameReader result(kResultWaitLimits);
    result.Feed(bad.data(), 63);
    EXPECT_EQ(0u, result.Wanted());
    EXPECT_EQ(FrameReader::Result::Rejected, result.Next());
    EXPECT_EQ(10241, result.Total());
    EXPECT_EQ(0u, result.Buffered());
    EXPECT_EQ(63u, result.Wanted());
}

TEST(FrameReader, AnAnnouncedTotalReservesNothing) {
    // A head announcing 99,999,999 bytes, then a trickle of body bytes.
    const std::string head = Frame("00", "", "99999999").substr(0, 63);
    FrameReader reader(kDocumentWaitLimits);
    reader.Feed(head.data(), head.size());
    EXPECT_EQ(FrameReader::Result::NeedMore, reader.Next());
    EXPECT_EQ(99999999u - 63u, reader.Wanted());
    EXPECT_LE(reader.Capacity(), 4096u);
    const std::string body(1000, 'b');
    size_t arrived = head.size();
    for (int i = 0; i < 300; ++i) {
        char* space = nullptr;
        const size_t room = reader.Prepare(reader.Wanted(), &space);
        EXPECT_LE(room, FrameReader::kGrowStep + 1000);
        std::copy(body.begin(), body.end(), space);
        reader.Commit(body.size());
        arrived += body.size();
        EXPECT_EQ(FrameReader::Result::NeedMore, reader.Next());
    }
    // Room for what came and for one read more, never for the announced total.
    EXPECT_LE(reader.Capacity(), 2 * (arrived + FrameReader::kGrowStep));
    EXPECT_EQ(arrived, reader.Buffered());

    reader.Clear();
    EXPECT_EQ(0u, reader.Buffered());
    EXPECT_EQ(63u, reader.Wanted());
}

TEST(FrameReader, ReadingAheadCutsWhatOneReadBrought) {
    // As the transfer loop reads: a large space, filled with many messages and
    // the start of the next; the buffer stays at the size the reader chose.
    std::string stream;
    for (int i = 0; i < 40; ++i)
        stream += Frame(i % 2 ? "02" : "01", std::string(1000 + i * 977, 'p'));
    FrameReader reader(kTransferLimits);
    reader.Reserve(256 * 1024);
    const size_t capacity = reader.Capacity();
    size_t at = 0;
    size_t messages = 0;
    std::string out;
    while (at < stream.size()) {
        char* space = nullptr;
        const size_t room = reader.Prepare(256 * 1024, &space);
        ASSERT_GE(room, FrameReader::kGrowStep);
        const size_t n = std::min(room, std::min<size_t>(stream.size() - at, 70001));
        std::copy(stream.data() + at, stream.data() + at + n, space);
        reader.Commit(n);
        at += n;
        while (reader.Next() == FrameReader::Result::Message) {
            ++messages;
            out.append(reader.Message(), static_cast<size_t>(reader.Total()));
        }
    }
    EXPECT_EQ(40u, messages);
    EXPECT_EQ(stream, out);
    EXPECT_EQ(capacity, reader.Capacity());
}

}  // namespace
}  // namespace kerrow
