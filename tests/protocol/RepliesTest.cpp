// The readers of replies and notices: complete replies, each missing element
// with its log line, and lists whose announced count disagrees with them.
#include <gtest/gtest.h>

#include "ProtocolTesting.h"
#include "protocol/Elements.h"
#include "protocol/FileMessages.h"
#include "protocol/PolicyMessages.h"
#include "protocol/Replies.h"

namespace kerrow {
namespace {

using testing::Lines;
using testing::LogLines;
using testing::operator+;
using testing::Tree;

// A reader's result and outputs as one text: numbers and bracketed texts,
// each followed by a blank.
template <class Value>
void Put(std::ostream& out, const Value& value) {
    out << value << ' ';
}
void Put(std::ostream& out, const std::string& value) { out << '[' << value << "] "; }
template <class... Values>
std::string Text(const Values&... values) {
    std::ostringstream text;
    (Put(text, values), ...);
    return text.str();
}

// Each reader with outputs preset to values it must not touch by mistake.
std::string Control(const TiXmlDocument& d) {
    int32_t method = 77, code = 77;
    const int result = ParseControlResponse(d, method, code);
    return Text(result, method, code);
}
std::string Progress(const TiXmlDocument& d) {
    uint32_t clientId = 77;
    int32_t position = 55;
    const int result = ParseProgress(d, clientId, position);
    return Text(result, clientId, position);
}
std::string Head(const TiXmlDocument& d) {
    ReplyHead head{9, 9, 9, 0};
    const int result = ParseEnvelopeHeader(d, head);
    return Text(result, head.ContentLength, head.ContentType, head.Method);
}
std::string MethodAndClientId(const TiXmlDocument& d) {
    const int32_t method = ReadMethod(d);
    return Text(method, ReadClientId(d));
}
std::string Element(const TiXmlDocument& d) {
    const TiXmlElement* element = d.FirstChildElement("A");
    return Text(ElementText(element), ElementLong(element), ElementInt(element));
}
std::string Files(const TiXmlDocument& d) {
    ListReply<FileEntry> reply;
    std::string text = Text(ParseFileListReply(d, reply), reply.TotalResult);
    for (const FileEntry& f : reply.Items) {
        text += "| " + Text(f.fileId, f.cameraGuid, f.alarmType, f.alarmDatetime, f.recordType,
                            f.fileSize, f.startTime, f.endTime, f.fileStatus, f.filePermission);
    }
    return text;
}
std::string Tasks(const TiXmlDocument& d) {
    ListReply<TaskRecord> reply;
    std::string text = Text(ParseTaskQueryReply(d, reply), reply.TotalResult);
    for (const TaskRecord& t : reply.Items) {
        text += "| " + Text(t.taskId, t.cameraGuid, t.alarmType, t.alarmDatetime, t.recordType,
                            t.cronType, t.dayOfWeek, t.startDatetime, t.endDatetime, t.fileName,
                            t.fileSize, t.taskStatus);
    }
    return text;
}
std::string Policies(const TiXmlDocument& d) {
    ListReply<PolicyEntry> reply;
    std::string text = Text(ParsePolicyQueryReply(d, reply), reply.TotalResult);
    for (const PolicyEntry& p : reply.Items) {
        text += "| " + Text(p.policyId, p.cameraGuid, p.recordType, p.cronType, p.policyStatus,
                            p.createTime, p.updateTime, p.taskCount);
        for (const PolicyTaskItem& t : p.tasks) {
            text += "/ " + Text(t.taskId, t.startYearMonth, t.startDay, t.dayOfWeek, t.startTime,
                                t.endYearMonth, t.endDay, t.endTime, t.status);
        }
    }
    return text;
}

// The INFO line of each missing path.
Lines NotFound(const std::string& prefix, const Lines& paths) {
    Lines lines;
    for (const std::string& path : paths) {
        lines.push_back("INFO -  xml file " + prefix + path + " element not found!");
    }
    return lines;
}

const std::string kHead = "ContentLength=00000100|ContentType=00|Method=600|";
const std::string kPolicy = "Action-QueryResponse-RecordPolicy-Policys-Policy-";
const Lines kPolicyFieldsButId = {"CameraGUID",   "RecordType", "CronType",
                                  "PolicyStatus", "CreateTime", "UpdateTime"};
const Lines kPolicyFields = Lines{"ID"} + kPolicyFieldsButId;
const Lines kPolicyTaskMissing =
    NotFound("Action-QueryResponse-Policys-Policy-Tasks-Task-",
             {"TaskID", "StartYearMonth", "StartDay", "DayofWeek", "StartTime", "EndYearMonth",
              "EndDay", "EndTime", "Status"});

struct Case {
    std::string (*read)(const TiXmlDocument&);
    std::string tree;
    std::string expected;
    Lines log;
};

TEST(Replies, EveryReaderOnCompleteAndIncompleteReplies) {
    const Case cases[] = {
        // Element texts: missing, empty, odd and beyond 32 bits.
        {Element, "B=1", "[] 0 -1 ", {}},
        {Element, "A{}", "[] 0 -1 ", {}},
        {Element, "A=", "[] 0 -1 ", {}},
        {Element, "A= -7x", "[-7x] -7 -7 ", {}},
        {Element, "A=a&amp;b", "[a&b] 0 0 ", {}},
        {Element, "A=4294967295", "[4294967295] 2147483647 2147483647 ", {}},
        {Element, "A=-99999999999", "[-99999999999] -2147483648 -2147483648 ", {}},
        // Result replies: ControlResponse first, ModifyResponse only without it.
        {Control, "Method=104|Action{ControlResponse{Code=0}}", "0 104 0 ", {}},
        {Control, "Method=1|Action{ModifyResponse{Code=0}|ControlResponse{Code=5}}", "0 1 5 ", {}},
        {Control, "Method=1|Action{ModifyResponse{Code=-3}}", "0 1 -3 ", {}},
        {Control, "Method=1|Action{ControlResponse{Code{}}}", "0 1 -1 ", {}},
        {Control, "Method{}|Action{ControlResponse{Code=2}}", "0 -1 2 ", {}},
        {Control, "Method=1|Action{ControlResponse{}|ModifyResponse{Code=4}}", "-1 1 0 ",
         NotFound("Action-", {"ControlResponse-Code"})},
        {Control, "Action{ControlResponse{Code=5}}", "-1 0 0 ", NotFound("", {"Method"})},
        {Control, "Method=1", "-1 1 0 ", NotFound("", {"Action"})},
        {Control, "Method=1|Action{Code=3}", "-1 1 0 ",
         NotFound("", {"Action-ControlResponse and Action-ModifyResponse"})},
        {Control, "Method=1|Action{ModifyResponse{}}", "-1 1 0 ",
         NotFound("Action-", {"ModifyResponse-Code"})},
        // Progress notices: what is missing keeps its value.
        {Progress, "Action{Position=42|ClientId=9}", "0 9 42 ", {}},
        {Progress, "Action{Position=42}", "0 77 42 ", NotFound("Action-", {"ClientId"})},
        {Progress, "Action{ClientId=9}", "0 9 55 ", NotFound("Action-", {"Positon"})},
        {Progress, "Action{ClientId{}|Position{}}", "0 0 -1 ", {}},
        {Progress, "Position=42", "-1 77 55 ", NotFound("", {"Action"})},
        // The head, up to the first missing element; empty elements read 0.
        {Head, "ContentLength=00000177|ContentType=01|Method=520", "0 177 1 520 ", {}},
        {Head, "ContentLength{}|ContentType{}|Method{}", "0 0 0 0 ", {}},
        {Head, "ContentType=1|Method=5", "-1 9 9 9 ", NotFound("", {"ContentLength"})},
        {Head, "ContentLength=80|Method=5", "-1 80 9 9 ", NotFound("", {"ContentType"})},
        {Head, "ContentLength=80|ContentType=3", "-1 80 3 9 ", NotFound("", {"Method"})},
        {MethodAndClientId, "Method=508|Action{ClientId=3000000000}", "508 2147483647 ", {}},
        {MethodAndClientId, "Action{}|ClientId=5", "-1 0 ",
         NotFound("", {"Method", "Action-ClientId"})},
        // List replies, complete and with every item field missing.
        {Files,
         kHead + "Action{QueryResponse{TotalResult=2|Files{File{FilePermission=1|FileStatus=-2|"
                 "EndTime=e|StartTime=s|FileSize=4000|RecordType=65537|AlarmDatetime=t|AlarmType="
                 "a&amp;b|CameraGUID=CAM|FileID=42}|Other{}|File{}}}}",
         "0 2 | 42 [CAM] [a&b] [t] 1 4000 [s] [e] -2 1 | 0 [] [] [] 0 0 [] [] 0 0 ",
         NotFound("Action-QueryResponse-Files-File-",
                  {"FileID", "CameraID", "AlarmType", "AlarmDatetime", "RecordType", "FileSize",
                   "StartTime", "EndTime", "FileStatus", "FilePermission"})},
        {Tasks,
         kHead + "Action{QueryResponse{TotalResult=2|Tasks{Task{ID=3|CameraGUID=CAM|AlarmType=m|"
                 "AlarmDatetime=d|RecordType=1|CronType=2|DayofWeek=3|StartDatetime=s|EndDatetime"
                 "=e|FileName=f|FileSize=99|TaskStatus=4}|Task{}}}}",
         "0 2 | 3 [CAM] [m] [d] 1 2 3 [s] [e] [f] 99 4 | 0 [] [] [] 0 0 0 [] [] [] 0 0 ",
         NotFound(
             "Action-QueryResponse-Tasks-Task-",
             {"ID", "CameraID", "AlarmType", "AlarmDatetime", "RecordType", "CronType", "DayofWeek",
              "StartDatetime", "EndDatetime", "FileName", "FileSize", "TaskStatus"})},
        {Policies,
         kHead + "Action{QueryResponse{RecordPolicy{TotalResult=1|Policys{Policy{ID=8|CameraGUID="
                 "CAM|RecordType=1|CronType=2|PolicyStatus=3|CreateTime=c|UpdateTime=u|Tasksnum=2"
                 "|Tasks{Task{TaskID=5|StartYearMonth=202401|StartDay=05|DayofWeek=6|StartTime="
                 "0705|EndYearMonth=202402|EndDay=9|EndTime=2359|Status=1}|Task{}}}}}}}",
         "0 1 | 8 [CAM] 1 2 3 [c] [u] 2 / 5 [202401] 5 6 [0705] [202402] 9 [2359] 1 / 0 [] 0 0 [] "
         "[] 0 [] 0 ",
         Lines{"INFO -  Total:1", "INFO -  tasksnum:2"} + kPolicyTaskMissing},
        // A policy announcing tasks without any fails the reply; those before stay.
        {Policies,
         kHead + "Action{QueryResponse{RecordPolicy{TotalResult=2|Policys{Policy{Tasksnum=1|"
                 "Tasks{Task{}}}|Policy{Tasksnum=2}}}}}",
         "-1 2 | 0 [] 0 0 0 [] [] 1 / 0 [] 0 0 [] [] 0 [] 0 ",
         Lines{"INFO -  Total:2"} + NotFound(kPolicy, kPolicyFields) + Lines{"INFO -  tasksnum:1"} +
             kPolicyTaskMissing + NotFound(kPolicy, kPolicyFields) + Lines{"INFO -  tasksnum:2"} +
             NotFound("Action-QueryResponse-RecordPolicy-Policys-", {"Tasks-Task"})},
        // A negative or missing task count reads no task.
        {Policies,
         kHead + "Action{QueryResponse{RecordPolicy{TotalResult=2|Policys{Policy{ID=1|Tasksnum="
                 "-1|Tasks{Task{}}}|Policy{ID=2|Tasks{Task{}}}}}}}",
         "0 2 | 1 [] 0 0 0 [] [] 65535 | 2 [] 0 0 0 [] [] 0 ",
         Lines{"INFO -  Total:2"} + NotFound(kPolicy, kPolicyFieldsButId) +
             Lines{"INFO -  tasksnum:-1"} + NotFound(kPolicy, kPolicyFieldsButId) +
             NotFound("Action-QueryResponse-RecordPolicy-Policys-", {"Tasksnum"})},
        // A missing total: no policies, but the other two lists fail.
        {Policies, kHead + "Action{QueryResponse{}}", "0 0 ",
         NotFound("Action-QueryResponse-RecordPolicy-", {"TotalResult"})},
        {Files, kHead + "Action{}", "-1 0 ", NotFound("Action-QueryResponse-", {"TotalResult"})},
        {Tasks, kHead + "Action{QueryResponse{TotalResult{}}}", "0 0 ", {}},
        {Tasks, kHead + "Action{QueryResponse{TotalResult=3}}", "-1 3 ",
         NotFound("Action-QueryResponse-", {"Tasks-Task"})},
        {Files, "Action{QueryResponse{TotalResult=1}}", "-1 0 ", NotFound("", {"ContentLength"})},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.tree);
        TiXmlDocument document;
        document.Parse(Tree(c.tree).c_str());
        LogLines log;
        EXPECT_EQ(c.read(document), c.expected);
        EXPECT_EQ(log.Written(), c.log);
    }
}

// Announced totals against the items present, for one list reader: shape
// holds "%s" for the total and for the items, item "%d" for its number;
// withoutItems is the reader's text for a total of 1 without any item.
void CheckCounts(std::string (*read)(const TiXmlDocument&), const char* shape, const char* item,
                 const std::string& withoutItems) {
    struct Count {
        const char* total;
        int present, read;
    };
    const Count counts[] = {{"=0", 2, 0},           {"=-3", 2, 0},          {"{}", 1, 0},
                            {"=2", 2, 2},           {"=5", 2, 2},           {"=1", 3, 1},
                            {"=99999999999", 3, 3}, {"=-99999999999", 3, 0}};
    char text[512];
    for (const Count& c : counts) {
        std::string items, ids, expectedIds;
        for (int i = 1; i <= c.present; ++i) {
            std::snprintf(text, sizeof text, item, i);
            items += (i > 1 ? "|" : "") + std::string(text);
            if (i <= c.read) expectedIds += std::to_string(i) + ",";
        }
        std::snprintf(text, sizeof text, shape, c.total, items.c_str());
        SCOPED_TRACE(text);
        TiXmlDocument document;
        document.Parse(Tree(kHead + text).c_str());
        const std::string result = read(document);
        for (size_t at = result.find("| "); at != std::string::npos;
             at = result.find("| ", at + 1)) {
            ids += result.substr(at + 2, result.find(' ', at + 2) - at - 2) + ",";
        }
        EXPECT_EQ(result.substr(0, 2), "0 ");
        EXPECT_EQ(ids, expectedIds);
    }
    std::snprintf(text, sizeof text, shape, "=1", "");
    TiXmlDocument document;
    document.Parse(Tree(kHead + text).c_str());
    EXPECT_EQ(read(document), withoutItems);
}

TEST(Replies, ListsStopAtTheItemsPresent) {
    CheckCounts(Files, "Action{QueryResponse{TotalResult%s|Files{%s}}}", "File{FileID=%d}", "0 1 ");
    CheckCounts(Tasks, "Action{QueryResponse{TotalResult%s|Tasks{%s}}}", "Task{ID=%d}", "-1 1 ");
    CheckCounts(Policies, "Action{QueryResponse{RecordPolicy{TotalResult%s|Policys{%s}}}}",
                "Policy{ID=%d|Tasksnum=0}", "-1 1 ");
}

}  // namespace
}  // namespace kerrow
