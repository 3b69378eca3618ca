// Query replies copied into the application's lists: texts cut to their
// field without a terminating zero when full, times read at fixed columns,
// task texts split back into numbers, stored file names composed.
#include <cstring>

#include "client/ClientTesting.h"

namespace kerrow::test {
namespace {

class ClientQueries : public Session {};

std::string Text(const TransferTime& t) {
    char text[64];
    std::snprintf(text, sizeof text, "%d-%d-%d %d:%d:%d", t.year, t.month, t.day, t.hour, t.minute,
                  t.second);
    return text;
}

// A full field: exactly its width of text, no terminating zero.
template <size_t N>
std::string Field(const char (&field)[N]) {
    return std::string(field, N);
}

const std::string kLongGuid(70, 'g');  // cut to 64
const std::string kFullGuid = std::string(63, 'f') + "F";
const std::string kLongAlarm = std::string(31, 'a') + "Azzzzzzz";  // cut to 32

TEST_F(ClientQueries, PoliciesComeBackWithTheirTasks) {
    const Lines task = {
        "                        <Task>",
        "                            <TaskID>7</TaskID>",
        "                            <StartYearMonth>202403</StartYearMonth>",
        "                            <StartDay>5</StartDay>",
        "                            <DayofWeek>3</DayofWeek>",
        "                            <StartTime>0805</StartTime>",
        "                            <EndYearMonth>202412</EndYearMonth>",
        "                            <EndDay>17</EndDay>",
        "                            <EndTime>173045</EndTime>",
        "                            <Status>1</Status>",
        "                        </Task>",
        "                        <Task>",
        "                            <TaskID>8</TaskID>",
        "                        </Task>",
    };
    const Lines reply =
        Lines{
            "    <QueryResponse>",
            "        <RecordPolicy>",
            "            <TotalResult>2</TotalResult>",
            "            <Policys>",
            "                <Policy>",
            "                    <ID>42</ID>",
            "                    <CameraGUID>" + kLongGuid + "</CameraGUID>",
            "                    <RecordType>1</RecordType>",
            "                    <CronType>2</CronType>",
            "                    <PolicyStatus>3</PolicyStatus>",
            "                    <CreateTime>2024-03-05 08:05:09</CreateTime>",
            "                    <UpdateTime>2024-03-06 10:11:12</UpdateTime>",
            "                    <Tasksnum>2</Tasksnum>",
            "                    <Tasks>",
        } +
        task +
        Lines{
            "                    </Tasks>",
            "                </Policy>",
            "                <Policy>",
            "                    <ID>43</ID>",
            "                    <CameraGUID>cam-b</CameraGUID>",
            "                    <Tasksnum>0</Tasksnum>",
            "                </Policy>",
            "            </Policys>",
            "        </RecordPolicy>",
            "    </QueryResponse>",
        };
    server_.Script(Reply::Now(ControlMessage(200, Joined(reply))));
    std::list<RecordPolicy> policies;
    ASSERT_EQ(0, Kerrow_RecordPolicy_Query(conn_, "", 0, &policies));
    ASSERT_EQ(2u, policies.size());

    const RecordPolicy& first = policies.front();
    EXPECT_EQ(42u, first.policyId);
    EXPECT_EQ(kLongGuid.substr(0, 64), Field(first.cameraGuid));
    EXPECT_EQ(1, first.recordType);
    EXPECT_EQ(2, first.cronType);
    EXPECT_EQ(3, first.policyStatus);
    EXPECT_EQ("2024-3-5 8:5:9", Text(first.createTime));
    EXPECT_EQ("2024-3-6 10:11:12", Text(first.updateTime));
    EXPECT_EQ(2, first.taskCount);
    ASSERT_EQ(2u, first.tasks.size());
    const PolicyTask& t = first.tasks.front();
    EXPECT_EQ(7u, t.taskId);
    EXPECT_EQ((std::vector<int>{2024, 3, 5, 8, 5, 0}),
              (std::vector<int>{t.startYear, t.startMonth, t.startDay, t.startHour, t.startMinute,
                                t.startSecond}));
    EXPECT_EQ(
        (std::vector<int>{2024, 12, 17, 17, 30, 45}),
        (std::vector<int>{t.endYear, t.endMonth, t.endDay, t.endHour, t.endMinute, t.endSecond}));
    EXPECT_EQ(3u, t.dayOfWeek);
    EXPECT_EQ(1, t.status);
    const PolicyTask& bare = first.tasks.back();
    EXPECT_EQ(8u, bare.taskId);
    EXPECT_EQ(0, bare.startYear + bare.startMonth + bare.endHour + bare.status);

    const RecordPolicy& second = policies.back();
    EXPECT_EQ(43u, second.policyId);
    EXPECT_STREQ("cam-b", second.cameraGuid);
    EXPECT_TRUE(second.tasks.empty());
}

TEST_F(ClientQueries, TasksComeBackWithTextsCutToTheirFields) {
    const Lines reply = {
        "    <QueryResponse>",
        "        <TotalResult>1</TotalResult>",
        "        <Tasks>",
        "            <Task>",
        "                <ID>9</ID>",
        "                <CameraGUID>" + kFullGuid + "</CameraGUID>",
        "                <AlarmType>" + kLongAlarm + "</AlarmType>",
        "                <AlarmDatetime>2024-03-05 08:05:09</AlarmDatetime>",
        "                <RecordType>2</RecordType>",
        "                <CronType>4</CronType>",
        "                <DayofWeek>5</DayofWeek>",
        "                <StartDatetime>2024-03-05 08:00:00</StartDatetime>",
        "                <EndDatetime>2024-03-05 09:30:00</EndDatetime>",
        "                <FileName>/data/cam/2024030508.mp4</FileName>",
        "                <FileSize>123456</FileSize>",
        "                <TaskStatus>1</TaskStatus>",
        "            </Task>",
        "        </Tasks>",
        "    </QueryResponse>",
    };
    server_.Script(Reply::Now(ControlMessage(201, Joined(reply))));
    std::list<PolicyTaskInfo> tasks;
    ASSERT_EQ(0, Kerrow_RecordPolicy_QueryTask(conn_, kCameraId, 2, 0xFFFF, &tasks));
    ASSERT_EQ(1u, tasks.size());
    const PolicyTaskInfo& t = tasks.front();
    EXPECT_EQ(9u, t.taskId);
    EXPECT_EQ(kFullGuid, Field(t.cameraGuid));
    EXPECT_EQ(kLongAlarm.substr(0, 32), Field(t.alarmType));
    EXPECT_EQ("2024-3-5 8:5:9", Text(t.alarmTime));
    EXPECT_EQ(2, t.recordType);
    EXPECT_EQ(4, t.cronType);
    EXPECT_EQ(5, t.dayOfWeek);
    EXPECT_EQ("2024-3-5 8:0:0", Text(t.startTime));
    EXPECT_EQ("2024-3-5 9:30:0", Text(t.endTime));
    EXPECT_STREQ("/data/cam/2024030508.mp4", t.fileName);
    EXPECT_EQ(123456, t.fileSize);
    EXPECT_EQ(1, t.taskStatus);
}

TEST_F(ClientQueries, FilesComeBackNamedForTheFileOperationsEvenUnderAFailureCode) {
    const Lines reply = {
        "    <ControlResponse>",
        "        <Code>5</Code>",
        "    </ControlResponse>",
        "    <QueryResponse>",
        "        <TotalResult>2</TotalResult>",
        "        <Files>",
        "            <File>",
        "                <FileID>15</FileID>",
        "                <CameraGUID>" + kLongGuid + "</CameraGUID>",
        "                <AlarmType>motion</AlarmType>",
        "                <AlarmDatetime>2024-03-05 08:05:09</AlarmDatetime>",
        "                <RecordType>2</RecordType>",
        "                <FileSize>1048576</FileSize>",
        "                <StartTime>2024-03-05 08:00:00</StartTime>",
        "                <EndTime>2024-03-05 09:30:00</EndTime>",
        "                <FileStatus>1</FileStatus>",
        "                <FilePermission>3</FilePermission>",
        "            </File>",
        "            <File>",
        "                <FileID>4711</FileID>",
        "                <RecordType>1</RecordType>",
        "            </File>",
        "        </Files>",
        "    </QueryResponse>",
    };
    const std::string message = ControlMessage(600, Joined(reply));
    server_.Script(Reply::Now(message));
    std::list<VideoFileInfo> files;
    ASSERT_EQ(
        0, Kerrow_GetVideoFileList(conn_, kCameraId, 2, "motion", TransferTime{2024, 3, 5, 0, 0, 0},
                                   TransferTime{2024, 3, 6, 0, 0, 0}, &files));
    ASSERT_EQ(2u, files.size());
    const VideoFileInfo& f = files.front();
    EXPECT_EQ("200000000015", Field(f.fileId));
    EXPECT_EQ(kLongGuid.substr(0, 64), Field(f.cameraGuid));
    EXPECT_STREQ("motion", f.alarmType);
    EXPECT_EQ("2024-3-5 8:5:9", Text(f.alarmTime));
    EXPECT_EQ(2, f.recordType);
    EXPECT_EQ(1048576, f.fileSize);
    EXPECT_EQ("2024-3-5 8:0:0", Text(f.startTime));
    EXPECT_EQ("2024-3-5 9:30:0", Text(f.endTime));
    EXPECT_EQ(1, f.fileStatus);
    EXPECT_EQ(3, f.filePermission);
    const VideoFileInfo& g = files.back();
    EXPECT_EQ("100000004711", Field(g.fileId));
    EXPECT_EQ(0, g.filePermission) << "a missing FilePermission keeps the default";
    EXPECT_TRUE(LogContains(Line("接收到的xml:") + message));

    // The name goes back to the file operations as it is (no terminating zero).
    server_.Script(Reply::Now(ResultReply(516, 0)));
    EXPECT_EQ(0, Kerrow_DeleteFile(conn_, f.fileId));
    EXPECT_EQ("15", server_.Requests().back().Text("FileID"));
    EXPECT_EQ("2", server_.Requests().back().Text("RecordType"));
}

TEST_F(ClientQueries, AListReplyMayBeLongerThanAResultReply) {
    std::string files;
    for (int i = 1; i <= 200; ++i) {
        files += "            <File>\n                <FileID>" + std::to_string(i) +
                 "</FileID>\n                <RecordType>1</RecordType>\n            </File>\n";
    }
    const std::string message = ControlMessage(
        600, "    <QueryResponse>\n        <TotalResult>200</TotalResult>\n        <Files>\n" +
                 files + "        </Files>\n    </QueryResponse>\n");
    ASSERT_GT(message.size(), 10240u);
    server_.Script(Reply::Now(message));
    std::list<VideoFileInfo> list;
    ASSERT_EQ(
        0, Kerrow_GetVideoFileList(conn_, kCameraId, 1, "", TransferTime{}, TransferTime{}, &list));
    ASSERT_EQ(200u, list.size());
    EXPECT_EQ("100000000200", Field(list.back().fileId));
}

TEST_F(ClientQueries, ListsAreEmptiedFirstAndANullListIsRefused) {
    auto reply = [](int method, const std::string& inside) {
        return ControlMessage(method, "    <QueryResponse>\n" + inside + "    </QueryResponse>\n");
    };
    struct Case {
        const char* what;
        std::string policyReply, taskReply, fileReply;
    };
    const std::vector<Case> cases = {
        {"zero entries",
         reply(200,
               "        <RecordPolicy>\n            <TotalResult>0</TotalResult>\n        "
               "</RecordPolicy>\n"),
         reply(201, "        <TotalResult>0</TotalResult>\n"),
         reply(600, "        <TotalResult>0</TotalResult>\n")},
        {"a failure code and no entries", ResultReply(200, 5), ResultReply(201, 5),
         ResultReply(600, 5)},
    };
    for (const Case& c : cases) {
        std::list<RecordPolicy> policies(2);
        std::list<PolicyTaskInfo> tasks(2);
        std::list<VideoFileInfo> files(2);
        server_.Script(Reply::Now(c.policyReply));
        EXPECT_EQ(0, Kerrow_RecordPolicy_Query(conn_, kCameraId, 0, &policies)) << c.what;
        server_.Script(Reply::Now(c.taskReply));
        EXPECT_EQ(0, Kerrow_RecordPolicy_QueryTask(conn_, kCameraId, 0, 0, &tasks)) << c.what;
        server_.Script(Reply::Now(c.fileReply));
        EXPECT_EQ(0, Kerrow_GetVideoFileList(conn_, kCameraId, 0, "", TransferTime{},
                                             TransferTime{}, &files))
            << c.what;
        EXPECT_TRUE(policies.empty() && tasks.empty() && files.empty()) << c.what;
    }

    const size_t sent = server_.Requests().size();
    EXPECT_EQ(7, Kerrow_RecordPolicy_Query(conn_, kCameraId, 0, nullptr));
    EXPECT_EQ(7, Kerrow_RecordPolicy_QueryTask(conn_, kCameraId, 0, 0, nullptr));
    EXPECT_EQ(7, Kerrow_GetVideoFileList(conn_, kCameraId, 0, "", TransferTime{}, TransferTime{},
                                         nullptr));
    // Nothing was sent: the next request is the next one the server sees.
    server_.Script(Reply::Now(ResultReply(100, 0)));
    EXPECT_EQ(0, Kerrow_AddDevice(conn_));
    ASSERT_EQ(sent + 1, server_.Requests().size());
    EXPECT_EQ(100, server_.Requests().back().Method());
}

}  // namespace
}  // namespace kerrow::test
