// How every control operation turns the server's reply into its result: the
// codes, the replies the waits reject, a connection closed mid-reply, replies
// in fragments, and the log lines written on the way.
#include "client/ClientTesting.h"

namespace kerrow::test {
namespace {

class ClientResults : public Session {
  protected:
    // Runs op on a connection of its own whose one request gets reply.
    int OnFreshConnection(const Operation& op, const Reply& reply) {
        const uint32_t id = Open();
        server_.SetHandler([reply](const Request&) { return reply; });
        const int result = op.call(id);
        Kerrow_Disconnect(id);
        return result;
    }
};

TEST_F(ClientResults, CodeZeroIsSuccessAndIsLogged) {
    AnswerEverythingWithSuccess();
    for (const Operation& op : AllOperations()) {
        EXPECT_EQ(0, op.call(conn_)) << op.name;
        ASSERT_EQ(op.method, server_.Requests().back().Method()) << op.name;
        // The send text is followed by the whole request on the same line.
        EXPECT_TRUE(LogContains(Line(op.sending) + LastRequest())) << op.name;
        if (*op.succeeded != '\0') {
            EXPECT_TRUE(LogHasMessage(Line(op.succeeded))) << op.name;
        }
    }
    // " 新增摄像头 发送xml命令：<?xml" and " 新增摄像头 成功" in GBK.
    EXPECT_TRUE(LogContains(
        " \xD0\xC2\xD4\xF6\xC9\xE3\xCF\xF1\xCD\xB7 \xB7\xA2\xCB\xCDxml\xC3\xFC\xC1\xEE\xA3\xBA"
        "<?xml version="));
    EXPECT_TRUE(LogHasMessage(" \xD0\xC2\xD4\xF6\xC9\xE3\xCF\xF1\xCD\xB7 \xB3\xC9\xB9\xA6"));
    // " 删除文件 成功"
    EXPECT_TRUE(LogHasMessage(" \xC9\xBE\xB3\xFD\xCE\xC4\xBC\xFE \xB3\xC9\xB9\xA6"));
}

TEST_F(ClientResults, RefusedWithoutARequestForAnUnknownConnectionOrWithoutTheLibrary) {
    for (const Operation& op : AllOperations()) {
        EXPECT_EQ(7, op.call(0)) << op.name;
        EXPECT_EQ(7, op.call(conn_ + 1000)) << op.name;
    }
    Kerrow_Disconnect(conn_);
    for (const Operation& op : AllOperations()) EXPECT_EQ(7, op.call(conn_)) << op.name;
    Kerrow_Release();
    for (const Operation& op : AllOperations()) EXPECT_EQ(1, op.call(conn_)) << op.name;
    EXPECT_TRUE(server_.Requests().empty());
    ASSERT_EQ(0, Kerrow_Init());
}

TEST_F(ClientResults, ServerCodesAreJudgedPerFamily) {
    // The queries do not look at the code at all.
    struct Case {
        int code;
        bool fileChangeFails;
    };
    for (const Case& c : {Case{5, true}, Case{-3, false}}) {
        server_.SetHandler(
            [&c](const Request& r) { return Reply::Now(ResultReply(r.Method(), c.code)); });
        for (const Operation& op : AllOperations()) {
            int expected = 0;
            if (op.family == Family::Control) expected = op.failureCode;
            if (op.family == Family::FileChange && c.fileChangeFails) expected = op.failureCode;
            EXPECT_EQ(expected, op.call(conn_)) << op.name << " code " << c.code;
            if (op.family == Family::Control) {
                EXPECT_TRUE(LogHasMessage(Line(op.failed, c.code)))
                    << op.name << " code " << c.code;
            }
        }
    }
    // A refused delete or permission change is not logged as such; a
    // negative code is logged as success.
    EXPECT_FALSE(LogContains(Line(Op("DeleteFile").failed)));
    EXPECT_TRUE(LogHasMessage(Line(Op("DeleteFile").succeeded)));
    // " 停止手动录像任务（扩展）err：5" in GBK.
    EXPECT_TRUE(LogHasMessage(
        " \xCD\xA3\xD6\xB9\xCA\xD6\xB6\xAF\xC2\xBC\xCF\xF1\xC8\xCE\xCE\xF1\xA3\xA8\xC0\xA9"
        "\xD5\xB9\xA3\xA9"
        "err\xA3\xBA"
        "5"));
}

TEST_F(ClientResults, UnusableRepliesFailWithTheOperationsCode) {
    const std::string good = ResultReply(100, 0);
    struct Kind {
        const char* what;
        Reply reply;
        int waitResult;       // what the result wait reports (logged after "err：")
        bool resultWaitOnly;  // a document wait accepts any length from 64 up
    };
    const std::vector<Kind> kinds = {
        {"10241 bytes announced", Reply::Now(WithLengthDigits(good, "00010241")), 18, true},
        {"63 bytes announced", Reply::Now(WithLengthDigits(good, "00000063")), 18, false},
        {"length digits 0000012x", Reply::Now(WithLengthDigits(good, "0000012x")), 18, false},
        {"not XML", Reply::Now(FrameMessage("00", "<Method>100</Wrong>\n")), 18, false},
        {"closed inside the head", Reply::Now(good.substr(0, 40)).ThenClose(), 3, false},
        {"closed inside the body", Reply::Now(good.substr(0, 80)).ThenClose(), 3, false},
    };
    for (const Kind& kind : kinds) {
        for (const Operation& op : AllOperations()) {
            const bool resultWait = op.family == Family::Control;
            if (kind.resultWaitOnly && !resultWait) continue;
            EXPECT_EQ(op.failureCode, OnFreshConnection(op, kind.reply))
                << op.name << ": " << kind.what;
            // A document wait that yields nothing logs the result as it
            // still stands, 0.
            EXPECT_TRUE(LogHasMessage(Line(op.failed, resultWait ? kind.waitResult : 0)))
                << op.name << ": " << kind.what;
        }
    }
}

// A document reply of 1 MB that nests its elements as deep as it can fails
// as a reply that is not XML, instead of exhausting the stack of TinyXML's
// recursive parse: plainly, and with every closing tag read as part of the
// character that a byte of 0xC9 starts.
TEST_F(ClientResults, ADeeplyNestedDocumentReplyFailsAsNotXml) {
    for (const std::string level : {"<a>", "<a>\xC9</a>"}) {
        std::string body = "<Method>300</Method>\n<Action>\n";
        while (body.size() < 1024 * 1024) body += level;
        const Reply deep = Reply::Now(FrameMessage("00", body));
        for (const Operation& op : AllOperations()) {
            if (op.family == Family::Control) continue;
            EXPECT_EQ(op.failureCode, OnFreshConnection(op, deep)) << op.name;
            EXPECT_TRUE(LogHasMessage(Line(op.failed, 0))) << op.name;
        }
    }
}

TEST_F(ClientResults, AfterTheServerClosedEveryOperationFailsToSend) {
    server_.Script(Reply::Now(ResultReply(100, 0).substr(0, 80)).ThenClose());
    EXPECT_EQ(99, Kerrow_AddDevice(conn_));
    for (const Operation& op : AllOperations()) {
        EXPECT_EQ(12, op.call(conn_)) << op.name;
        EXPECT_TRUE(LogHasMessage(Line(op.sendFailed))) << op.name;
    }
    EXPECT_TRUE(LogHasMessage(" network has been colsed!"));
    EXPECT_EQ(1u, server_.Requests().size());
}

TEST_F(ClientResults, RepliesArrivingInFragmentsAreWaitedFor) {
    struct Case {
        const char* operation;
        int code;
        int expected;
    };
    // Pieces end inside the head, right at its end and inside the body.
    const std::vector<size_t> sizes = {10, 53, 1, 40};
    for (const Case& c : {Case{"AddDevice", 0, 0}, Case{"AddDevice", 5, 99},
                          Case{"DeleteFile", 5, 206}, Case{"DeleteFile", -1, 0}}) {
        const Operation& op = Op(c.operation);
        server_.Script(Reply::Fragments(ResultReply(op.method, c.code), sizes, Millis(30)));
        EXPECT_EQ(c.expected, op.call(conn_)) << op.name << " code " << c.code;
    }
}

TEST_F(ClientResults, ReplyFormsControlResponseModifyResponseAndMissingParts) {
    auto codes = [](const char* element, const char* code) {
        return std::string("    <") + element + ">\n" +
               (code != nullptr ? std::string("        <Code>") + code + "</Code>\n" : "") +
               "    </" + element + ">\n";
    };
    struct Case {
        const char* what;
        std::string reply;
        int addDevice;
        int deleteFile;
    };
    const std::vector<Case> cases = {
        {"ModifyResponse only", ControlMessage(100, codes("ModifyResponse", "4")), 99, 206},
        {"ControlResponse wins over ModifyResponse",
         ControlMessage(100, codes("ControlResponse", "5") + codes("ModifyResponse", "0")), 99,
         206},
        {"ControlResponse without Code: code 0",
         ControlMessage(100, codes("ControlResponse", nullptr) + codes("ModifyResponse", "4")), 0,
         0},
        {"no Method",
         FrameMessage("00", "<Action>\n" + codes("ControlResponse", "5") + "</Action>\n"), 0, 0},
        {"no Action", FrameMessage("00", "<Method>100</Method>\n"), 0, 0},
        {"empty Code: -1",
         ControlMessage(100, "    <ControlResponse>\n        <Code />\n    </ControlResponse>\n"),
         99, 0},
    };
    for (const Case& c : cases) {
        server_.Script(Reply::Now(c.reply));
        EXPECT_EQ(c.addDevice, Kerrow_AddDevice(conn_)) << c.what;
        server_.Script(Reply::Now(c.reply));
        EXPECT_EQ(c.deleteFile, Kerrow_DeleteFile(conn_, "100000000042")) << c.what;
    }
}

TEST_F(ClientResults, AResultReplyMayHaveUpTo10240Bytes) {
    const std::string code =
        "    <ControlResponse>\n        <Code>5</Code>\n    </ControlResponse>\n";
    auto padded = [&](size_t size) {
        const size_t bare = ControlMessage(100, code + "    <Filler></Filler>\n").size();
        return ControlMessage(
            100, code + "    <Filler>" + std::string(size - bare, 'x') + "</Filler>\n");
    };
    struct Case {
        size_t size;
        int logged;  // the server's code, or 18 for a rejected length
    };
    for (const Case& c : {Case{10240, 5}, Case{10241, 18}}) {
        const std::string reply = padded(c.size);
        ASSERT_EQ(c.size, reply.size());
        EXPECT_EQ(99, OnFreshConnection(Op("AddDevice"), Reply::Now(reply))) << c.size;
        EXPECT_TRUE(LogHasMessage(Line("新增摄像头失败 err：", c.logged))) << c.size;
    }
}

TEST_F(ClientResults, TheRestOfARejectedReplyIsReadAsTheNextReply) {
    // A head announcing 10241 bytes, followed by a complete reply: the first
    // wait rejects the head and leaves the complete reply on the connection.
    const std::string head = WithLengthDigits(FrameMessage("00", ""), "00010241").substr(0, 63);
    server_.Script(Reply::Now(head + ResultReply(101, 0)));
    EXPECT_EQ(99, Kerrow_AddDevice(conn_));
    EXPECT_TRUE(LogHasMessage(Line("新增摄像头失败 err：", 18)));
    // The server does not answer the second request; the leftover reply does.
    EXPECT_EQ(0, Kerrow_MdyDevice(conn_));
    EXPECT_TRUE(server_.WaitRequests(2));
    EXPECT_TRUE(LogContains(Line("收到的 xml命令：") + ResultReply(101, 0)));
}

}  // namespace
}  // namespace kerrow::test
