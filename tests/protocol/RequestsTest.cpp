// Every request byte for byte, against messages written out by hand.
#include <gtest/gtest.h>

#include <thread>

#include "ProtocolTesting.h"
#include "protocol/AlarmMessages.h"
#include "protocol/CameraMessages.h"
#include "protocol/FileMessages.h"
#include "protocol/MediaMessages.h"
#include "protocol/PolicyMessages.h"

namespace kerrow {
namespace {

using testing::Golden;

template <class Record>
std::string Build(void (*builder)(const Record&, std::string&), const Record& record) {
    std::string out = "stale text";
    builder(record, out);
    return out;
}

const CameraRequest kCamera{"CAM-01",   "CAM-01",    "Gate", 7,      "enc",   7,
                            "10.0.0.9", "cam.local", 1,      0,      "admin", "p<&>'\"",
                            65535,      "",          8000,   "desc", 10};

std::string CameraTree(const std::string& name, const char* mainConn, const char* preRecord) {
    return "Camera{GUID=CAM-01|CameraID=CAM-01|CameraName=" + name +
           "|CameraType=7|EncoderName=enc|EncoderType=7|EncoderIP=10.0.0.9|EncoderDNS=cam.local"
           "|EncoderMAINCONN=" +
           mainConn +
           "|EncoderPort=0|EncoderUsername=admin|EncoderPassword=p&lt;&amp;&gt;&apos;&quot;"
           "|EncoderChannel=65535|ForwardSvrIP=|ForwardSvrPort=8000|CameraDesc=desc|PreRecord=" +
           preRecord + "}";
}

std::string PolicyTask(const char* startDay, const char* week, const char* endDay) {
    return std::string("Task{PolicyID=0|StartYearMonth=202401|StartDay=") + startDay +
           "|DayofWeek=" + week + "|StartTime=0705|EndYearMonth=202402|EndDay=" + endDay +
           "|EndTime=2359|Status=0}";
}

struct Case {
    const char* name;
    std::string built;
    int method;
    std::string tree;
};

void Check(const std::vector<Case>& cases) {
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(c.built, Golden(c.method, c.tree));
    }
}

TEST(Requests, CameraAlarmAndManualRecord) {
    CameraRequest byIp = kCamera;
    byIp.encoderByDns = 0;
    AddPolicyRequest manual{"CAM-01", 3, 0, 1, {{}}, 10, static_cast<uint16_t>(70000)};
    const std::string stopTask = "Action{Control{CameraGUID=CAM-01}}";
    Check({
        {"AddDevice", Build(BuildAddDeviceRequest, kCamera), 100,
         "Action{Control{" + CameraTree("", "DNS", "10") + "}}"},
        {"MdyDevice", Build(BuildMdyDeviceRequest, byIp), 101,
         "Action{Modify{" + CameraTree("", "IP", "10") + "}}"},
        {"DelDevice", Build(BuildDelDeviceRequest, kCamera), 102,
         "Action{Modify{Camera{GUID=CAM-01}}}"},
        {"Alarm", Build(BuildAlarmRequest, AlarmRequest{kCamera, 0, "motion", " 999-01-02 03:04"}),
         109,
         "Action{Control{" + CameraTree("Gate", "DNS", "0") +
             "|Alarm{AlarmType=motion|AlarmDatetime= 999-01-02 03:04|MaxRecordTime=0}}}"},
        {"StopAlarm", Build(BuildStopAlarmRequest, CameraSelector{}), 110,
         "Action{Control{CameraGUID=}}"},
        {"StopTask", Build(BuildStopTaskRequest, CameraSelector{"CAM-01", 1, 2}), 112, stopTask},
        {"StopTaskEx", Build(BuildStopTaskRequest, CameraSelector{"CAM-01", 0, 0}), 112, stopTask},
        {"ManualStart", Build(BuildPolicyStartType3Request, manual), 111,
         "Action{Control{CameraGUID=CAM-01|MaxRecordTime=4464}}"},
    });
}

TEST(Requests, RecordPolicies) {
    AddPolicyRequest policy{"CAM-01", 1, -2, 2, {}, 0, 0};
    policy.tasks = {{"202401", 5, 3, "0705", "202402", 5, "2359"},
                    {"202401", 17, 65535, "0705", "202402", 17, "2359"}};
    const AddPolicyRequest empty{"CAM-01", 1, -2, 0, {}, 0, 0};
    const std::string policyHead =
        "Action{Control{RecordPolicy{ID=0|CameraGUID=CAM-01|"
        "RecordType=1|PolicyStatus=3|CronType=-2|";
    const PolicySelector selector{"A&B", 4294967295u, 65535};
    const TaskRequest task{9, 12, "202401", 5, 65535, "0705", "202402", 6, "2359", 0};
    const std::string schedule =
        "StartYearMonth=202401|StartDay=5|DayofWeek=65535|StartTime=0705|EndYearMonth=202402|"
        "EndDay=6|EndTime=2359";
    Check({
        {"Start", Build(BuildPolicyStartRequest, policy), 103,
         policyHead + "Tasksnum=2|Tasks{" + PolicyTask("05", "3", "5") + "|" +
             PolicyTask("17", "65535", "17") + "}}}}"},
        {"StartWithoutTasks", Build(BuildPolicyStartRequest, empty), 103,
         policyHead + "Tasksnum=0}}}"},
        {"Modify", Build(BuildPolicyModifyRequest, selector), 104,
         "Action{Modify{ID=4294967295|Policy{PolicyStatus=65535}}}"},
        {"Del", Build(BuildPolicyDelRequest, selector), 105, "Action{Modify{ID=4294967295}}"},
        {"DelAll", Build(BuildPolicyDelAllRequest, selector), 113,
         "Action{Modify{CameraGUID=A&amp;B}}"},
        {"AddTask", Build(BuildAddTaskRequest, task), 106,
         "Action{Modify{PolicyID=9|Task{" + schedule + "|Status=0}}}"},
        {"ModifyTask", Build(BuildModifyTaskRequest, task), 107,
         "Action{Modify{ID=12|Task{" + schedule + "}}}"},
        {"DelTask", Build(BuildDelTaskRequest, task), 108, "Action{Modify{ID=12}}"},
        {"QueryAnyCamera", Build(BuildPolicyQueryRequest, PolicyQuery{1, "", -1}), 200,
         "Action{Query{Condition{Itemnum=1|Items{}}}}"},
        {"QueryBoth", Build(BuildPolicyQueryRequest, PolicyQuery{2, "CAM-01", 3}), 200,
         "Action{Query{Condition{Itemnum=2|Items{CameraGUID=CAM-01|RecordType=3}}}}"},
        {"QueryNone", Build(BuildPolicyQueryRequest, PolicyQuery{0, "CAM-01", 3}), 200,
         "Action{Query{Condition{Itemnum=0}}}"},
        {"QueryTaskNone", Build(BuildTaskQueryRequest, TaskQuery{0, "CAM-01", 2, 1}), 201,
         "Action{Query{Condition{}}}"},
        {"QueryTaskSome", Build(BuildTaskQueryRequest, TaskQuery{2, "CAM-01", -3, -1}), 201,
         "Action{Query{Condition{CameraGUID=CAM-01|RecordType=-3}}}"},
    });
}

TEST(Requests, FilesAndTransfers) {
    const FileQuery query{"CAM-01", 2, "motion", "2024-01-02 03:04:05", "2024-01-02 04:00:00"};
    FileRecord del{{0, 0}, 516, 42, 1, 65535};
    FileRecord backup = del;
    backup.method = 515;
    const MediaRequest byFile{
        {0, 0}, 0, 0, 1, 7, "", 2, "0000-00-00 00:00:00", "0000-00-00 00:00:00"};
    const MediaRequest byTime{
        {0, 0}, 0, 0, 2, 0, "CAM-01", 65535, "2024-01-02 03:04:05", "2024-01-02 04:00:00"};
    const UploadRequest upload{
        {0, 0}, 0,     65535, 4294967295u, 5000, "2024-01-02 03:04:05", "2024-01-02 03:05:05",
        "op",   "a<b", "",    "x&y",       ""};
    std::string stopUpload, stopDownload, finished;
    BuildClientIdMessage(520, 7, stopUpload);
    BuildClientIdMessage(511, 4294967295u, stopDownload);
    BuildControlResponseMessage(519, 7, -2, finished);
    const std::string fileModify = "Action{Modify{FileID=42|RecordType=1}}";
    Check({
        {"FileList", Build(BuildFileListRequest, query), 600,
         "Action{Query{Condition{CameraGUID=CAM-01|RecordType=2|AlarmType=2|StartTime=2024-01-02 "
         "03:04:05|EndTime=2024-01-02 04:00:00}}}"},
        {"DeleteFile", Build(BuildFileModifyRequest, del), 516, fileModify},
        {"BackupFile", Build(BuildFileModifyRequest, backup), 515, fileModify},
        {"Permission", Build(BuildFilePermissionRequest, del), 514,
         "Action{Modify{FileID=42|RecordType=1|FilePermision=-1}}"},
        {"PlayByFile", Build(BuildPlayRequest, byFile), 500,
         "Action{Control{FilesNum=0|PlayType=1|FileID=7|CameraGUID=|RecordType=2|StartTime=0000-"
         "00-00 00:00:00|EndTime=0000-00-00 00:00:00}}"},
        {"DownloadByTime", Build(BuildDownloadRequest, byTime), 510,
         "Action{Control{PlayType=2|FileID=0|CameraGUID=CAM-01|RecordType=-1|StartTime=2024-01-"
         "02 03:04:05|EndTime=2024-01-02 04:00:00}}"},
        {"Upload", Build(BuildUploadRequest, upload), 519,
         "Action{Control{FileInfo{MediaType=-1|EncoderType=-1|FileSize=5000|StartTime=2024-01-"
         "02 03:04:05|EndTime=2024-01-02 03:05:05|OprID=op|FileDesc=a&lt;b|Uploader=|Label=x&amp;"
         "y|ControlCenter=}}}"},
        {"StopUpload", stopUpload, 520, "Action{ClientId=7}"},
        {"StopDownload", stopDownload, 511, "Action{ClientId=4294967295}"},
        {"UploadFinished", finished, 519, "Action{ClientId=7|ControlResponse{Code=-2}}"},
    });
}

TEST(Requests, PlayControlsAndStop) {
    struct Control {
        uint16_t method, action;
        float speed;
        const char* clientId;
        const char* speedText;
    };
    const Control controls[] = {
        {507, 3, 2.0f, "4000000000", "2"},     {507, 3, 0.5f, "4000000000", "0.5"},
        {507, 4, 2.25f, "4000000000", "2.25"}, {507, 1, 1.0f / 3, "4000000000", "0.333333"},
        {507, 2, 1e8f, "4000000000", "1e+08"}, {999, 1, 1.0f, "999", "1"},
    };
    for (const Control& c : controls) {
        const PlayControl control{{0, 0}, c.method, 4000000000u, c.action, c.speed, 65535};
        Check({{c.speedText, Build(BuildPlayControlRequest, control), c.method,
                std::string("Action{ClientId=") + c.clientId + "|Control{PlayAction=" +
                    std::to_string(c.action) + "|PlaySpeed=" + c.speedText + "|Position=65535}}"}});
    }
    const PlayControl stop{{0, 0}, 501, 12, 3, 2.0f, 4};
    Check({{"Stop", Build(BuildPlayControlRequest, stop), 501, "Action{ClientId=12}"}});
}

TEST(Requests, BuildersShareNoStateAcrossThreads) {
    const MediaRequest request{{0, 0}, 0, 0, 2, 0, "CAM-01", 3, "2024-01-02 03:04:05", ""};
    const PlayControl control{{0, 0}, 507, 9, 3, 0.5f, 7};
    auto both = [&] {
        return Build(BuildPlayRequest, request) + Build(BuildPlayControlRequest, control);
    };
    const std::string expected = both();
    std::vector<int> mismatches(4, 0);
    std::vector<std::thread> threads;
    for (size_t t = 0; t < mismatches.size(); ++t) {
        threads.emplace_back([&, t] {
            for (int i = 0; i < 200; ++i) mismatches[t] += both() != expected;
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(mismatches, std::vector<int>(4, 0));
}

}  // namespace
}  // namespace kerrow
