// Every request as the client builds it, decoded by the server: the decoded
// record, built again by the client's builder, must give the same bytes, so
// that every field that travels came back into its own place.
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <variant>

#include "protocol/AlarmMessages.h"
#include "protocol/CameraMessages.h"
#include "protocol/FileMessages.h"
#include "protocol/MediaMessages.h"
#include "protocol/PolicyMessages.h"
#include "protocol/server/ServerRequest.h"

namespace kerrow {
namespace {

struct Case {
    std::string name;
    RequestKind kind;
    std::string message;                                              // as the client sent it
    std::function<bool(const RequestRecord&, std::string&)> rebuild;  // false: wrong record
};

template <class Record>
Case Make(std::string name, RequestKind kind, const Record& record,
          std::function<void(const Record&, std::string&)> build) {
    Case c{std::move(name), kind, std::string(), nullptr};
    build(record, c.message);
    c.rebuild = [build](const RequestRecord& decoded, std::string& out) {
        const Record* got = std::get_if<Record>(&decoded);
        if (got != nullptr) build(*got, out);
        return got != nullptr;
    };
    return c;
}

// Every field distinct and not its default, texts that need escaping.
CameraRequest Camera() {
    CameraRequest c;
    c.guid = "cam-1 & <2>";
    c.cameraId = "id-\"7\"";
    c.cameraName = "Gate 'north'";
    c.cameraType = -7;
    c.encoderName = "enc";
    c.encoderType = 9;
    c.encoderIp = "10.0.0.1";
    c.encoderDns = "enc.example";
    c.encoderByDns = 1;
    c.encoderPort = 4294967295u;
    c.encoderUsername = "";
    c.encoderPassword = "p<a>ss&";
    c.encoderChannel = 65535;
    c.forwardServerIp = "10.0.0.2";
    c.forwardServerPort = 7070;
    c.cameraDesc = "desc";
    c.preRecord = 10;
    return c;
}

std::vector<Case> Cases() {
    std::vector<Case> cases;
    const CameraRequest camera = Camera();
    CameraRequest byIp = camera;
    byIp.encoderByDns = 0;
    cases.push_back(
        Make<CameraRequest>("AddDevice", RequestKind::AddDevice, camera, BuildAddDeviceRequest));
    cases.push_back(
        Make<CameraRequest>("MdyDeviceByIp", RequestKind::MdyDevice, byIp, BuildMdyDeviceRequest));
    cases.push_back(
        Make<CameraRequest>("DelDevice", RequestKind::DelDevice, camera, BuildDelDeviceRequest));

    AddPolicyRequest policy;
    policy.cameraGuid = "cam&1";
    policy.recordType = -2;
    policy.cronType = 4;
    policy.taskCount = 2;
    policy.tasks = {{"202401", 5, 3, "0830", "202402", 6, "1700"},
                    {"202403", 17, 0, "", "", 65535, "2359"}};
    policy.maxRecordTime = 4464;
    cases.push_back(Make<AddPolicyRequest>("PolicyStartTwoTasks", RequestKind::PolicyStart, policy,
                                           BuildPolicyStartRequest));
    AddPolicyRequest noTasks = policy;
    noTasks.taskCount = 0;
    noTasks.tasks.clear();
    cases.push_back(Make<AddPolicyRequest>("PolicyStartNoTasks", RequestKind::PolicyStart, noTasks,
                                           BuildPolicyStartRequest));
    cases.push_back(Make<AddPolicyRequest>("ManualRecording", RequestKind::PolicyStartType3, policy,
                                           BuildPolicyStartType3Request));

    const PolicySelector selector{"cam-9", 4000000000u, 65535};
    cases.push_back(Make<PolicySelector>("PolicyModify", RequestKind::PolicyModify, selector,
                                         BuildPolicyModifyRequest));
    cases.push_back(
        Make<PolicySelector>("PolicyDel", RequestKind::PolicyDel, selector, BuildPolicyDelRequest));
    cases.push_back(Make<PolicySelector>("PolicyDelAll", RequestKind::PolicyDelAll, selector,
                                         BuildPolicyDelAllRequest));

    const TaskRequest task{11, 12, "202401", 31, 6, "0000", "209912", 1, "2400", 1};
    cases.push_back(Make<TaskRequest>("AddTask", RequestKind::AddTask, task, BuildAddTaskRequest));
    cases.push_back(
        Make<TaskRequest>("ModifyTask", RequestKind::ModifyTask, task, BuildModifyTaskRequest));
    cases.push_back(Make<TaskRequest>("DelTask", RequestKind::DelTask, task, BuildDelTaskRequest));

    cases.push_back(Make<PolicyQuery>("PolicyQueryBoth", RequestKind::PolicyQuery,
                                      PolicyQuery{2, "cam-1", 1}, BuildPolicyQueryRequest));
    cases.push_back(Make<PolicyQuery>("PolicyQueryEmptyItems", RequestKind::PolicyQuery,
                                      PolicyQuery{1, "", -1}, BuildPolicyQueryRequest));
    cases.push_back(Make<PolicyQuery>("PolicyQueryNoItems", RequestKind::PolicyQuery,
                                      PolicyQuery{0, "", -1}, BuildPolicyQueryRequest));
    cases.push_back(Make<TaskQuery>("TaskQueryAll", RequestKind::TaskQuery,
                                    TaskQuery{3, "cam-1", 2, 0}, BuildTaskQueryRequest));
    cases.push_back(Make<TaskQuery>("TaskQueryCron", RequestKind::TaskQuery,
                                    TaskQuery{1, "", -1, 5}, BuildTaskQueryRequest));
    cases.push_back(Make<TaskQuery>("TaskQueryNone", RequestKind::TaskQuery,
                                    TaskQuery{0, "", -1, -1}, BuildTaskQueryRequest));

    AlarmRequest alarm{camera, 0, "motion & sound", "2024-01-02 03:04:05"};
    cases.push_back(Make<AlarmRequest>("Alarm", RequestKind::Alarm, alarm, BuildAlarmRequest));
    cases.push_back(Make<CameraSelector>("StopAlarm", RequestKind::StopAlarm,
                                         CameraSelector{"cam-<3>", 0, 0}, BuildStopAlarmRequest));
    cases.push_back(Make<CameraSelector>("StopTask", RequestKind::StopTask,
                                         CameraSelector{"", 0, 0}, BuildStopTaskRequest));

    cases.push_back(Make<FileQuery>("FileList", RequestKind::FileList,
                                    FileQuery{"cam-1", -1, "", "2024-01-01 00:00:00", ""},
                                    BuildFileListRequest));
    FileRecord file;
    file.fileId = 4294967295u;
    file.recordType = 2;
    file.filePermission = 65535;  // travels as -1
    file.method = 516;
    cases.push_back(
        Make<FileRecord>("DeleteFile", RequestKind::DeleteFile, file, BuildFileModifyRequest));
    file.method = 515;
    cases.push_back(
        Make<FileRecord>("BackupFile", RequestKind::Backup, file, BuildFileModifyRequest));
    file.method = 514;
    cases.push_back(Make<FileRecord>("FilePermission", RequestKind::FilePermission, file,
                                     BuildFilePermissionRequest));

    MediaRequest media;
    media.Method = 500;
    media.FilesNum = 3;
    media.PlayType = 2;
    media.FileID = 7;
    media.CameraGUID = "cam&1";
    media.RecordType = 65535;  // travels as -1
    media.StartTime = "2024-01-01 00:00:00";
    media.EndTime = "0000-00-00 00:00:00";
    cases.push_back(Make<MediaRequest>("Play", RequestKind::Play, media, BuildPlayRequest));
    media.Method = 510;
    media.FilesNum = 0;
    cases.push_back(
        Make<MediaRequest>("Download", RequestKind::Download, media, BuildDownloadRequest));

    PlayControl control;
    control.Method = 507;
    control.ClientId = 4000000000u;
    control.PlayAction = 3;
    control.PlaySpeed = 0.5f;
    control.Position = 65535;
    cases.push_back(
        Make<PlayControl>("PlaySlow", RequestKind::PlayControl, control, BuildPlayControlRequest));
    control.PlaySpeed = 2.25f;
    cases.push_back(
        Make<PlayControl>("PlayFast", RequestKind::PlayControl, control, BuildPlayControlRequest));
    control.Method = 501;
    cases.push_back(
        Make<PlayControl>("StopPlay", RequestKind::StopPlay, control, BuildPlayControlRequest));

    UploadRequest upload;
    upload.Method = 519;
    upload.MediaType = 65535;
    upload.EncoderType = 4294967295u;
    upload.FileSize = -5;
    upload.StartTime = "a";
    upload.EndTime = "b";
    upload.OprID = "op&";
    upload.FileDesc = "";
    upload.Uploader = "u";
    upload.Label = "l";
    upload.ControlCenter = "cc";
    cases.push_back(Make<UploadRequest>("Upload", RequestKind::Upload, upload, BuildUploadRequest));

    const auto clientId = [](const ClientIdMessage& m, std::string& out) {
        BuildClientIdMessage(m.method, m.clientId, out);
    };
    cases.push_back(Make<ClientIdMessage>("StopDownload", RequestKind::StopDownload,
                                          ClientIdMessage{511, 7}, clientId));
    cases.push_back(Make<ClientIdMessage>("StopBackup", RequestKind::StopBackup,
                                          ClientIdMessage{518, 0}, clientId));
    cases.push_back(Make<ClientIdMessage>("StopUpload", RequestKind::StopUpload,
                                          ClientIdMessage{520, 4294967295u}, clientId));
    cases.push_back(Make<ControlResponseMessage>(
        "UploadFinished", RequestKind::UploadFinished, ControlResponseMessage{519, 42, -1},
        [](const ControlResponseMessage& m, std::string& out) {
            BuildControlResponseMessage(m.method, m.clientId, m.code, out);
        }));
    return cases;
}

TEST(RequestRoundTrip, EveryClientRequestDecodesBackIntoItsRecord) {
    for (const Case& c : Cases()) {
        SCOPED_TRACE(c.name);
        ServerRequest request;
        const DecodeStatus status = DecodeRequest(c.message.data(), c.message.size(), request);
        EXPECT_EQ(status, DecodeStatus::Ok) << DecodeStatusName(status);
        for (const std::string& problem : request.problems) ADD_FAILURE() << problem;
        EXPECT_EQ(request.kind, c.kind) << RequestKindName(request.kind);
        EXPECT_EQ(request.contentType, 0);
        std::string rebuilt;
        ASSERT_TRUE(c.rebuild(request.record, rebuilt)) << "record of another type";
        EXPECT_EQ(rebuilt, c.message);
        EXPECT_FALSE(request.fields.empty());
    }
}

// What the message derives and what the wire turns around comes back as the
// client meant it.
TEST(RequestRoundTrip, DerivedAndWrappedFieldsComeBackAsMeant) {
    std::string message;
    ServerRequest request;

    TaskQuery query{2, "", 4, 5};
    BuildTaskQueryRequest(query, message);
    ASSERT_EQ(DecodeRequest(message.data(), message.size(), request), DecodeStatus::Ok);
    const auto& tq = std::get<TaskQuery>(request.record);
    EXPECT_EQ(tq.itemCount, 2);
    EXPECT_EQ(tq.cameraGuid, "");
    EXPECT_EQ(tq.recordType, 4);
    EXPECT_EQ(tq.cronType, 5);

    AddPolicyRequest manual;
    manual.cameraGuid = "cam-2";
    manual.maxRecordTime = 70000 & 0xFFFF;
    BuildPolicyStartType3Request(manual, message);
    ASSERT_EQ(DecodeRequest(message.data(), message.size(), request), DecodeStatus::Ok);
    const auto& type3 = std::get<AddPolicyRequest>(request.record);
    EXPECT_EQ(type3.recordType, 3);
    EXPECT_EQ(type3.maxRecordTime, 4464);

    BuildClientIdMessage(520, 7, message);
    ASSERT_EQ(DecodeRequest(message.data(), message.size(), request), DecodeStatus::Ok);
    EXPECT_TRUE(request.hasClientId);
    EXPECT_EQ(request.clientId, 7u);
}

}  // namespace
}  // namespace kerrow
