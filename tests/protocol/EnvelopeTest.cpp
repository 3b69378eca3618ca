// The envelope: sizes and positions of the head, the data-message framing and
// the reading of a received head.
#include <gtest/gtest.h>

#include "ProtocolTesting.h"
#include "protocol/Elements.h"
#include "protocol/Envelope.h"
#include "protocol/MediaMessages.h"

namespace kerrow {
namespace {

const char kDataHead[] =
    "<?xml version=\"1.0\" encoding=\"UTF-8\" ?>\n<ContentLength>00000000</ContentLength>\n"
    "<ContentType>01</ContentType>\n";

TEST(Envelope, StopUploadIs177BytesWithItsLengthAt55) {
    std::string message;
    BuildClientIdMessage(520, 7, message);
    EXPECT_EQ(
        message,
        "<?xml version=\"1.0\" encoding=\"UTF-8\" ?>\n<ContentLength>00000177</ContentLength>\n"
        "<ContentType>00</ContentType>\n<Method>520</Method>\n<Action>\n"
        "    <ClientId>7</ClientId>\n</Action>\n");
    EXPECT_EQ(message.size(), 177u);
    EXPECT_EQ(ReadTotalLength(message.data(), message.size()), 177);
    EXPECT_EQ(ReadContentType(message.data(), message.size()), 0);

    BuildControlResponseMessage(519, 7, 0, message);
    EXPECT_EQ(
        message,
        "<?xml version=\"1.0\" encoding=\"UTF-8\" ?>\n<ContentLength>00000245</ContentLength>\n"
        "<ContentType>00</ContentType>\n<Method>519</Method>\n<Action>\n"
        "    <ClientId>7</ClientId>\n    <ControlResponse>\n        <Code>0</Code>\n"
        "    </ControlResponse>\n</Action>\n");
}

TEST(Envelope, DataMessagesCutBlocksInto2048ByteChunks) {
    std::string head;
    BuildDataHead(head);
    EXPECT_EQ(head, kDataHead);
    ASSERT_EQ(head.size(), 110u);
    // A message too short for its content type reads only the digits it holds.
    EXPECT_EQ(ReadContentType(head.data(), 95), 1);
    EXPECT_EQ(ReadContentType(head.data(), 94), 0);

    struct Case {
        size_t block;
        std::vector<size_t> totals;
    };
    for (const Case& c : {Case{5000, {2158, 2158, 1014}}, Case{2049, {2158, 111}},
                          Case{2048, {2158}}, Case{1, {111}}, Case{0, {}}}) {
        SCOPED_TRACE(c.block);
        std::string block(c.block, '\0');
        for (size_t i = 0; i < block.size(); ++i) block[i] = static_cast<char>(i * 7);
        std::vector<std::string> messages;
        BuildUploadDataMessages(block.data(), block.size(), messages);
        ASSERT_EQ(messages.size(), c.totals.size());
        std::string payload;
        for (size_t i = 0; i < messages.size(); ++i) {
            ASSERT_EQ(messages[i].size(), c.totals[i]);
            char digits[9];
            std::snprintf(digits, sizeof digits, "%08zu", c.totals[i]);
            std::string expectedHead = kDataHead;
            expectedHead.replace(55, 8, digits);
            EXPECT_EQ(messages[i].substr(0, 110), expectedHead);
            EXPECT_EQ(ReadContentType(messages[i].data(), messages[i].size()), 1);
            payload += messages[i].substr(110);
        }
        EXPECT_EQ(payload, block);
    }
}

TEST(Envelope, HeadTotalsAgainstTheReadersLimits) {
    struct Case {
        const char* digits;
        long total;
        bool document, result, transfer;
    };
    const Case cases[] = {
        {"00000063", 63, false, false, false},   {"00000064", 64, true, true, true},
        {"0000012x", 12, false, false, false},   {"00010240", 10240, true, true, true},
        {"00010241", 10241, true, false, true},  {"00040960", 40960, true, false, true},
        {"00040961", 40961, true, false, false}, {"99999999", 99999999, true, false, false},
        {"-0000100", -100, false, false, false}, {"abcdefgh", 0, false, false, false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.digits);
        std::string head = std::string(kDataHead).substr(0, 63);
        head.replace(55, 8, c.digits);
        EXPECT_EQ(ReadTotalLength(head.data(), 63), c.total);
        EXPECT_EQ(InspectHead(head.data(), 63, kDocumentWaitLimits).accepted, c.document);
        EXPECT_EQ(InspectHead(head.data(), 63, kResultWaitLimits).accepted, c.result);
        EXPECT_EQ(InspectHead(head.data(), 63, kTransferLimits).accepted, c.transfer);
        EXPECT_FALSE(InspectHead(head.data(), 62, kDocumentWaitLimits).accepted);
    }
}

TEST(Envelope, ParsesOnlyTheMessageEvenWhenItStopsInsideACharacter) {
    // The message ends in the lead byte of a four-byte character; behind it the
    // receive buffer holds a terminator and the rest of an older message.
    const std::string message = "<?xml version=\"1.0\" encoding=\"UTF-8\" ?><A>x\xf0";
    const std::string buffer = message + std::string("\0ZZ<B>1</B></A>", 15);
    TiXmlDocument document;
    EXPECT_FALSE(ParseDocument(buffer.data(), message.size(), document));

    const std::string reply = "<Method>512</Method><Action />";
    ASSERT_TRUE(ParseDocument(reply.data(), reply.size(), document));
    EXPECT_EQ(ReadMethod(document), 512);
}

}  // namespace
}  // namespace kerrow
