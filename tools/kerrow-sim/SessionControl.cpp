// The control requests: cameras, policies and tasks, alarms and manual
// recording, and the file catalogue, each answered from the store.
#include "Session.h"
#include "protocol/server/ServerReplies.h"
#include "store/TimeText.h"

namespace kerrow::sim {
namespace {

const char* ResultText(int code) {
    switch (code) {
        case kStoreOk:
            return "ok";
        case kBadRequest:
            return "bad request";
        case kUnknownCamera:
            return "unknown camera";
        case kUnknownPolicy:
            return "unknown policy";
        case kUnknownTask:
            return "unknown task";
        case kUnknownFile:
            return "unknown file";
        case kProtectedFile:
            return "file is protected";
        case kStorageFailure:
            return "storage failure";
        default:
            return "refused";
    }
}

}  // namespace

Session::Outcome Session::Control(const ServerRequest& request, std::string* reply) {
    Store& store = *context_.store;
    const int64_t now = WallClockNow();
    const auto& record = request.record;
    Outcome outcome;
    StoreResult result = kStoreOk;
    uint32_t id = 0;
    std::string detail;
    switch (request.kind) {
        case RequestKind::AddDevice:
            result = store.AddCamera(std::get<CameraRequest>(record), now);
            break;
        case RequestKind::MdyDevice:
            result = store.ModifyCamera(std::get<CameraRequest>(record), now);
            break;
        case RequestKind::DelDevice:
            result = store.DeleteCamera(std::get<CameraRequest>(record).guid, now);
            break;
        case RequestKind::PolicyStart:
            result = store.AddPolicy(std::get<AddPolicyRequest>(record), now, &id);
            detail = "policy " + std::to_string(id);
            break;
        case RequestKind::PolicyModify:
            result = store.ModifyPolicy(std::get<PolicySelector>(record), now);
            break;
        case RequestKind::PolicyDel:
            result = store.DeletePolicy(std::get<PolicySelector>(record));
            break;
        case RequestKind::PolicyDelAll:
            result = store.DeleteAllPolicies(std::get<PolicySelector>(record));
            break;
        case RequestKind::AddTask:
            result = store.AddTask(std::get<TaskRequest>(record), now, &id);
            detail = "task " + std::to_string(id);
            break;
        case RequestKind::ModifyTask:
            result = store.ModifyTask(std::get<TaskRequest>(record), now);
            break;
        case RequestKind::DelTask:
            result = store.DeleteTask(std::get<TaskRequest>(record), now);
            break;
        case RequestKind::Alarm:
            result = store.RaiseAlarm(std::get<AlarmRequest>(record), now, &id);
            detail = "recording task " + std::to_string(id);
            break;
        case RequestKind::StopAlarm:
            result = store.StopAlarm(std::get<CameraSelector>(record), now);
            break;
        case RequestKind::PolicyStartType3:
            result = store.StartManualRecording(std::get<AddPolicyRequest>(record), now, &id);
            detail = "recording task " + std::to_string(id);
            break;
        case RequestKind::StopTask:
            result = store.StopManualRecording(std::get<CameraSelector>(record), now);
            break;
        case RequestKind::PolicyQuery: {
            std::vector<PolicyEntry> policies;
            result = store.QueryPolicies(std::get<PolicyQuery>(record), &policies);
            BuildPolicyQueryReply(policies, *reply);
            outcome.replied = true;
            outcome.text = std::to_string(policies.size()) + " policies";
            return outcome;
        }
        case RequestKind::TaskQuery: {
            std::vector<TaskRecord> tasks;
            result = store.QueryTasks(std::get<TaskQuery>(record), &tasks);
            BuildTaskQueryReply(tasks, *reply);
            outcome.text = std::to_string(tasks.size()) + " tasks";
            return outcome;
        }
        case RequestKind::FileList: {
            std::vector<FileEntry> files;
            result = store.ListFiles(std::get<FileQuery>(record), &files);
            BuildFileListReply(files, *reply);
            outcome.text = std::to_string(files.size()) + " files";
            return outcome;
        }
        case RequestKind::DeleteFile:
            result = store.DeleteFile(std::get<FileRecord>(record));
            break;
        case RequestKind::FilePermission:
            result = store.SetFilePermission(std::get<FileRecord>(record));
            break;
        default:
            result = static_cast<StoreResult>(kUnknownMethod);
            break;
    }
    BuildResultReply(request.method, result, *reply);
    outcome.code = result;
    outcome.text = ResultText(result);
    if (result == kStoreOk && !detail.empty()) outcome.text += ", " + detail;
    return outcome;
}

}  // namespace kerrow::sim
