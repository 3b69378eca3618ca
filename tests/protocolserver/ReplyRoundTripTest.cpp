// Every reply and notice as the server builds it, framed and read by the
// client's own readers. List replies read by the client and built again by
// the server must give the same bytes.
#include <gtest/gtest.h>
#include <tinyxml.h>

#include <string>
#include <vector>

#include "protocol/Elements.h"
#include "protocol/FileMessages.h"
#include "protocol/FrameReader.h"
#include "protocol/PolicyMessages.h"
#include "protocol/Replies.h"
#include "protocol/server/ServerReplies.h"

namespace kerrow {
namespace {

// Cuts the message as the client's reader of limits does and parses it.
void ReadAsClient(const std::string& message, const FrameLimits& limits, TiXmlDocument& document) {
    FrameReader reader(limits);
    // In two pieces, the way the client takes a head and then a body.
    reader.Feed(message.data(), kHeadReadSize);
    ASSERT_EQ(reader.Next(), FrameReader::Result::NeedMore);
    reader.Feed(message.data() + kHeadReadSize, message.size() - kHeadReadSize);
    ASSERT_EQ(reader.Next(), FrameReader::Result::Message);
    ASSERT_EQ(static_cast<size_t>(reader.Total()), message.size());
    EXPECT_EQ(reader.ContentType(), 0);
    ASSERT_TRUE(ParseDocument(reader.Message(), message.size(), document));
}

TEST(ReplyRoundTrip, ResultsStartsAcknowledgementsAndNoticesReadAsTheClientReadsThem) {
    struct Case {
        const char* name;
        std::string message;
        int32_t method;
        int32_t code;       // ParseControlResponse; 0 for the notices
        int controlResult;  // what ParseControlResponse returns
        uint32_t clientId;  // ReadClientId
        int32_t position;   // ParseProgress, -7 untouched
    };
    std::string m[9];
    BuildResultReply(100, 0, m[0]);
    BuildResultReply(516, -3, m[1]);
    BuildModifyResultReply(514, 5, m[2]);
    BuildStartReply(500, 2147483647u, 0, m[3]);
    BuildStartReply(519, 0, 400, m[4]);
    BuildPlayControlAck(77, 0, m[5]);
    BuildProgressNotice(512, 9, 42, m[6]);
    BuildEndNotice(515, 9, m[7]);
    BuildResultReply(519, 2147483647, m[8]);
    const Case cases[] = {
        {"result", m[0], 100, 0, 0, 0, -7},
        {"negative result", m[1], 516, -3, 0, 0, -7},
        {"modify result", m[2], 514, 5, 0, 0, -7},
        {"start", m[3], 500, 0, 0, 2147483647u, -7},
        {"refused start", m[4], 519, 400, 0, 0, -7},
        {"acknowledgement", m[5], 507, 0, 0, 77, -7},
        {"progress", m[6], 512, 0, -1, 9, 42},
        {"end", m[7], 515, 0, -1, 9, -7},
        {"upload result", m[8], 519, 2147483647, 0, 0, -7},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        TiXmlDocument document;
        ReadAsClient(c.message, kResultWaitLimits, document);
        if (HasFatalFailure()) return;
        EXPECT_EQ(ReadMethod(document), c.method);
        int32_t method = -1;
        int32_t code = -1;
        EXPECT_EQ(ParseControlResponse(document, method, code), c.controlResult);
        EXPECT_EQ(method, c.method);
        EXPECT_EQ(code, c.code);
        EXPECT_EQ(ReadClientId(document), c.clientId);
        uint32_t clientId = 0;
        int32_t position = -7;
        ParseProgress(document, clientId, position);
        EXPECT_EQ(position, c.position);
    }
}

TEST(ReplyRoundTrip, ListRepliesCarryEveryFieldToTheClient) {
    FileEntry file{2147483647u,
                   "cam&1",
                   "motion <door>",
                   "2024-01-01 00:00:00",
                   -1,
                   2147483647u,
                   "2024-01-01 00:00:00",
                   "",
                   -32768,
                   1};
    FileEntry other{2, "", "", "", 3, 0, "a", "b", 0, 0};
    PolicyTaskItem task{5, "202401", 5, 3, "0830", "202402", 17, "1700", -1};
    PolicyEntry policy{2147483647u, "cam\"1\"", -1, 2, 3, "2024-01-01", "", 2, {task, task}};
    PolicyEntry bare{1, "cam-2", 1, 0, 0, "", "", 0, {}};
    TaskRecord record{7, "cam&1", "motion", "2024", -1, 2, 6, "s", "e", "f'1", 2147483647u, 3};

    const std::vector<std::vector<FileEntry>> fileLists = {{file, other}, {}};
    for (const auto& files : fileLists) {
        std::string message, again;
        BuildFileListReply(files, message);
        TiXmlDocument document;
        ReadAsClient(message, kDocumentWaitLimits, document);
        ListReply<FileEntry> reply;
        ASSERT_EQ(ParseFileListReply(document, reply), 0);
        EXPECT_EQ(reply.Method, 600);
        EXPECT_EQ(reply.TotalResult, static_cast<int32_t>(files.size()));
        BuildFileListReply(reply.Items, again);
        EXPECT_EQ(again, message);
    }
    const std::vector<std::vector<PolicyEntry>> policyLists = {{policy, bare}, {}};
    for (const auto& policies : policyLists) {
        std::string message, again;
        BuildPolicyQueryReply(policies, message);
        TiXmlDocument document;
        ReadAsClient(message, kDocumentWaitLimits, document);
        ListReply<PolicyEntry> reply;
        ASSERT_EQ(ParsePolicyQueryReply(document, reply), 0);
        EXPECT_EQ(reply.TotalResult, static_cast<int32_t>(policies.size()));
        ASSERT_EQ(reply.Items.size(), policies.size());
        if (!policies.empty()) {
            EXPECT_EQ(reply.Items[0].taskCount, 2);
        }
        BuildPolicyQueryReply(reply.Items, again);
        EXPECT_EQ(again, message);
    }
    const std::vector<std::vector<TaskRecord>> taskLists = {{record, record}, {}};
    for (const auto& tasks : taskLists) {
        std::string message, again;
        BuildTaskQueryReply(tasks, message);
        TiXmlDocument document;
        ReadAsClient(message, kDocumentWaitLimits, document);
        ListReply<TaskRecord> reply;
        ASSERT_EQ(ParseTaskQueryReply(document, reply), 0);
        EXPECT_EQ(reply.Method, 201);
        BuildTaskQueryReply(reply.Items, again);
        EXPECT_EQ(again, message);
    }
}

TEST(ReplyRoundTrip, MediaMessagesFitTheTransferLoop) {
    std::string block(2 * kMaxMediaPayload + 110, '\0');
    for (size_t i = 0; i < block.size(); ++i) block[i] = static_cast<char>(i * 31 + 1);
    std::string message;
    EXPECT_FALSE(BuildMediaMessage(5, block.data(), 10, message));
    EXPECT_FALSE(BuildMediaMessage(0, block.data(), 10, message));
    EXPECT_FALSE(BuildMediaMessage(2, block.data(), kMaxMediaPayload + 1, message));
    EXPECT_TRUE(message.empty());

    std::vector<std::string> messages;
    ASSERT_TRUE(AppendMediaMessages(1, block.data(), 100, 1000, messages));  // a header
    ASSERT_TRUE(AppendMediaMessages(4, block.data() + 100, block.size() - 100, 1u << 30, messages));
    ASSERT_EQ(messages.size(), 4u);
    EXPECT_EQ(messages[1].size(), kMaxMediaMessageSize);

    FrameReader reader(kTransferLimits);
    std::string stream;
    for (const std::string& m : messages) stream += m;
    reader.Feed(stream.data(), stream.size());
    std::string payload;
    std::vector<int> types;
    while (reader.Next() == FrameReader::Result::Message) {
        types.push_back(reader.ContentType());
        payload.append(reader.Message() + kDataHeadSize,
                       static_cast<size_t>(reader.Total()) - kDataHeadSize);
    }
    EXPECT_EQ(reader.Buffered(), 0u);
    EXPECT_EQ(types, (std::vector<int>{1, 4, 4, 4}));
    EXPECT_EQ(payload, block);

    ASSERT_TRUE(BuildMediaMessage(3, nullptr, 0, message));
    EXPECT_EQ(message.size(), kDataHeadSize);
    EXPECT_EQ(message.substr(93, 2), "03");
}

}  // namespace
}  // namespace kerrow
