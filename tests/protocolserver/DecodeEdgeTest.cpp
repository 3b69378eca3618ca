// What the decoder makes of messages that are not what a client builds:
// wrong lengths, text that is not XML, unknown Methods, missing, empty and
// malformed elements; and of the upload data and the journal fields.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "protocol/CameraMessages.h"
#include "protocol/Envelope.h"
#include "protocol/FileMessages.h"
#include "protocol/FrameReader.h"
#include "protocol/MediaMessages.h"
#include "protocol/PolicyMessages.h"
#include "protocol/server/ServerRequest.h"

namespace kerrow {
namespace {

// The message with from replaced by to, its length stamped again.
std::string Edited(std::string message, const std::string& from, const std::string& to) {
    const size_t at = message.find(from);
    EXPECT_NE(at, std::string::npos) << from;
    if (at != std::string::npos) message.replace(at, from.size(), to);
    StampContentLength(message);
    return message;
}

std::string DeleteFile() {
    FileRecord file;
    file.method = 516;
    file.fileId = 42;
    file.recordType = 1;
    std::string message;
    BuildFileModifyRequest(file, message);
    return message;
}

std::string Control(const std::string& body) {
    std::string message =
        "<?xml version=\"1.0\" encoding=\"UTF-8\" ?>\n<ContentLength>00000000</ContentLength>\n"
        "<ContentType>00</ContentType>\n" +
        body;
    StampContentLength(message);
    return message;
}

TEST(DecodeEdge, FaultyMessagesGetAStatusAndAProblemNamingTheElement) {
    const std::string del = DeleteFile();
    std::string deep, swallowed;
    for (int i = 0; i < 5000; ++i) deep += "<a>";
    // TinyXML takes the '<' behind a byte of 0xC9 as text: each <a> nests.
    for (int i = 0; i < 5000; ++i) swallowed += "<a>\xC9</a>";
    struct Case {
        const char* name;
        std::string message;
        DecodeStatus status;
        std::string problem;  // the first problem, "" for none
    };
    const Case cases[] = {
        {"whole", del, DecodeStatus::Ok, ""},
        {"length digits one too many",
         std::string(del).replace(kLengthOffset, 8, "00000" + std::to_string(del.size() + 1)),
         DecodeStatus::BadLength,
         "length digits say " + std::to_string(del.size() + 1) + ", message has " +
             std::to_string(del.size()) + " bytes"},
        {"content type 05", Edited(del, "<ContentType>00", "<ContentType>05"),
         DecodeStatus::BadContentType, "content type 5"},
        {"not xml", Edited(del, "</Modify>", "</Modfy>"), DecodeStatus::NotXml, ""},
        {"nested too deep", Control("<Method>516</Method>\n<Action>" + deep), DecodeStatus::NotXml,
         "elements nested too deep"},
        {"nested behind lead bytes", Control("<Method>516</Method>\n<Action>" + swallowed),
         DecodeStatus::NotXml, "elements nested too deep"},
        {"comment", Edited(del, "<Modify>", "<Modify><!-- x -->"), DecodeStatus::NotXml,
         "markup other than plain elements"},
        {"attribute", Edited(del, "<Modify>", "<Modify a=\"1\">"), DecodeStatus::NotXml,
         "markup other than plain elements"},
        {"no method", Edited(del, "<Method>516</Method>", ""), DecodeStatus::NoMethod,
         "Method element not found"},
        {"method not a number", Edited(del, "<Method>516", "<Method>5x6"), DecodeStatus::NoMethod,
         "Method malformed"},
        {"unknown method", Edited(del, "<Method>516", "<Method>999"), DecodeStatus::UnknownMethod,
         "Method 999 is no request"},
        {"missing element", Edited(del, "<FileID>42</FileID>", ""), DecodeStatus::Incomplete,
         "Action-Modify-FileID element not found"},
        {"empty number", Edited(del, "<FileID>42</FileID>", "<FileID />"), DecodeStatus::Incomplete,
         "Action-Modify-FileID malformed: ''"},
        {"number with text", Edited(del, "<FileID>42", "<FileID>42abc"), DecodeStatus::Incomplete,
         "Action-Modify-FileID malformed: '42abc'"},
        {"number out of range", Edited(del, "<RecordType>1", "<RecordType>32768"),
         DecodeStatus::Incomplete, "Action-Modify-RecordType malformed: '32768'"},
        {"no action", Control("<Method>516</Method>\n"), DecodeStatus::Incomplete,
         "Action element not found"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        ServerRequest request;
        EXPECT_EQ(DecodeRequest(c.message.data(), c.message.size(), request), c.status)
            << DecodeStatusName(DecodeRequest(c.message.data(), c.message.size(), request));
        if (c.status == DecodeStatus::Ok) {
            EXPECT_TRUE(request.problems.empty());
        } else {
            ASSERT_FALSE(request.problems.empty());
            if (!c.problem.empty()) {
                EXPECT_EQ(request.problems.front(), c.problem);
            }
        }
    }
    ServerRequest request;
    EXPECT_EQ(DecodeRequest(del.data(), kHeadReadSize, request), DecodeStatus::BadLength);
    EXPECT_EQ(DecodeRequest(nullptr, 0, request), DecodeStatus::BadLength);
}

// Texts: escapes come back unescaped, an empty element is an empty text, an
// element missing from a query is a criterion not given.
TEST(DecodeEdge, EmptyElementsAndEscapesReadAsTexts) {
    FileQuery query{"a&b", 1, "", "", "2024-01-01 00:00:00"};
    std::string message;
    BuildFileListRequest(query, message);
    ASSERT_NE(message.find("a&amp;b"), std::string::npos);
    const std::string selfClosed = Edited(message, "<StartTime></StartTime>", "<StartTime />");
    for (const std::string& m : {message, selfClosed}) {
        ServerRequest request;
        ASSERT_EQ(DecodeRequest(m.data(), m.size(), request), DecodeStatus::Ok);
        const auto& decoded = std::get<FileQuery>(request.record);
        EXPECT_EQ(decoded.cameraGuid, "a&b");
        EXPECT_EQ(decoded.startTime, "");
        EXPECT_EQ(decoded.endTime, "2024-01-01 00:00:00");
    }
    ServerRequest request;
    const std::string noStart = Edited(message, "<StartTime></StartTime>", "");
    EXPECT_EQ(DecodeRequest(noStart.data(), noStart.size(), request), DecodeStatus::Incomplete);
    EXPECT_EQ(request.problems, Problems{"Action-Query-Condition-StartTime element not found"});
    // The record is filled as far as the message went.
    EXPECT_EQ(std::get<FileQuery>(request.record).cameraGuid, "a&b");
}

TEST(DecodeEdge, UploadDataAndJournalFields) {
    std::string block(5000, '\0');
    for (size_t i = 0; i < block.size(); ++i) block[i] = static_cast<char>(i * 13);
    std::vector<std::string> messages;
    BuildUploadDataMessages(block.data(), block.size(), messages);
    FrameReader reader(kServerRequestLimits);
    for (const std::string& m : messages) reader.Feed(m.data(), m.size());
    std::string received;
    while (reader.Next() == FrameReader::Result::Message) {
        ServerRequest request;
        ASSERT_EQ(DecodeRequest(reader.Message(), reader.Total(), request), DecodeStatus::Ok);
        EXPECT_EQ(request.kind, RequestKind::UploadData);
        EXPECT_EQ(request.method, -1);
        received.append(request.data, request.dataSize);
    }
    EXPECT_EQ(received, block);

    AddPolicyRequest policy;
    policy.cameraGuid = "cam-1";
    policy.taskCount = 2;
    policy.tasks = {{"202401", 5, 0, "0830", "202401", 5, "0900"},
                    {"202401", 17, 0, "", "", 17, "1000"}};
    std::string message;
    BuildPolicyStartRequest(policy, message);
    ServerRequest request;
    ASSERT_EQ(DecodeRequest(message.data(), message.size(), request), DecodeStatus::Ok);
    std::vector<std::string> startDays;
    for (const auto& field : request.fields) {
        if (field.first == "Control/RecordPolicy/Tasks/Task/StartDay") {
            startDays.push_back(field.second);
        }
    }
    EXPECT_EQ(startDays, (std::vector<std::string>{"05", "17"}));
    EXPECT_EQ(request.fields.front(),
              (std::pair<std::string, std::string>{"Control/RecordPolicy/ID", "0"}));
    EXPECT_EQ(request.fields.size(), 6u + 2 * 9u);

    // A policy announcing more tasks than it holds is not whole.
    const std::string short1 = Edited(message, "<Tasksnum>2", "<Tasksnum>3");
    EXPECT_EQ(DecodeRequest(short1.data(), short1.size(), request), DecodeStatus::Incomplete);
    EXPECT_EQ(request.problems,
              Problems{"Action-Control-RecordPolicy-Tasksnum 3 but 2 Task elements"});
}

}  // namespace
}  // namespace kerrow
