// The command dispatch of a Client: every numbered command of the connection
// runs here, one at a time, under the command lock. Each operation receives
// its own copy of the input record, completed from the connection's record
// where the command says so.
#include <list>

#include "client/Client.h"
#include "log/Log.h"
#include "net/Connection.h"
#include "util/FieldText.h"
#include "util/TimeText.h"

namespace kerrow {
namespace {

// Position queries poll and do not count as activity.
bool IsProgressQuery(int32_t code) {
    return code == kCmdGetPlayPos || code == kCmdGetBackupPos || code == kCmdGetUploadPos ||
           code == kCmdGetDownloadPos;
}

template <class Record>
Record CopyOf(void* input) {
    return *static_cast<const Record*>(input);
}

// The query commands fill a list that the caller owns, emptied first.
template <class Item>
std::list<Item>* EmptiedList(void* output) {
    auto* list = static_cast<std::list<Item>*>(output);
    if (list != nullptr) list->clear();
    return list;
}

}  // namespace

int32_t Client::Execute(int32_t code, void* input, void* output, void* /*extra*/) {
    if (!connection_) return kResultNoConnection;
    if (input == nullptr) return kResultBadArgument;

    int32_t result = kResultOk;
    platform::CriticalSectionGuard guard(commandLock_);
    switch (code) {
        case kCmdAddDevice:
            result = AddDevice();
            break;
        case kCmdMdyDevice:
            result = MdyDevice();
            break;
        case kCmdDelDevice:
            result = DelDevice();
            break;
        case kCmdPolicyStart:
            result = AddPolicy(CopyOf<RecordPolicy>(input));
            break;
        case kCmdPolicyModify:
            result = ModifyPolicyStatus(CopyOf<PolicySelector>(input));
            break;
        case kCmdPolicyDel:
            result = DeletePolicy(CopyOf<PolicySelector>(input));
            break;
        case kCmdPolicyDelAll:
            result = DeleteAllPolicies(CopyOf<PolicySelector>(input));
            break;
        case kCmdModifyTask:
            result = ModifyTask(CopyOf<TaskRequest>(input));
            break;
        case kCmdDelTask:
            result = DeleteTask(CopyOf<TaskRequest>(input));
            break;
        case kCmdAddTask:
            result = AddTask(CopyOf<TaskRequest>(input));
            break;
        case kCmdStopTask: {
            CameraSelector selector = CopyOf<CameraSelector>(input);
            selector.cameraGuid = FieldText(record_.cameraId);
            result = StopTask(selector);
            break;
        }
        case kCmdStopTaskEx:
            result = StopTaskEx(CopyOf<CameraSelector>(input));
            break;
        case kCmdAlarm: {
            AlarmRequest alarm = CopyOf<AlarmRequest>(input);
            alarm.camera = CameraFromRecord();
            result = SendAlarm(alarm);
            break;
        }
        case kCmdStopAlarm:
            result = StopAlarm(CopyOf<CameraSelector>(input));
            break;
        case kCmdGetPlayPos:
            if (output != nullptr) *static_cast<uint32_t*>(output) = GetProgress();
            break;
        case kCmdModifyFilePermission:
            result = ModifyFilePermission(CopyOf<FileRecord>(input));
            break;
        case kCmdDeleteFile: {
            FileRecord file = CopyOf<FileRecord>(input);
            file.method = 516;
            result = DeleteFile(file);
            break;
        }
        case kCmdGetBackupPos:
        case kCmdGetDownloadPos:
            result = TransferProgress(static_cast<uint32_t*>(output));
            break;
        case kCmdGetUploadPos:
            result = UploadProgress(static_cast<uint32_t*>(output));
            break;
        case kCmdPolicyQuery:
            if (auto* list = EmptiedList<RecordPolicy>(output)) {
                result = QueryPolicies(CopyOf<PolicyQuery>(input), *list);
            } else {
                result = kResultBadArgument;
            }
            break;
        case kCmdTaskQuery:
            if (auto* list = EmptiedList<PolicyTaskInfo>(output)) {
                result = QueryTasks(CopyOf<TaskQuery>(input), *list);
            } else {
                result = kResultBadArgument;
            }
            break;
        case kCmdFileList:
            if (auto* list = EmptiedList<VideoFileInfo>(output)) {
                result = QueryFiles(CopyOf<FileQuery>(input), *list);
            } else {
                result = kResultBadArgument;
            }
            break;
        default:
            // Codes without an operation here (the gaps of the table, codes
            // out of range, and the transfer commands of this build) do
            // nothing and answer 0.
            break;
    }
    if (!IsProgressQuery(code)) UpdateActiveTime();
    return result;
}

// Bytes of the upload handed to the network, in percent of the file.
int32_t Client::UploadProgress(uint32_t* output) {
    int32_t value = static_cast<int32_t>(uploadSentBytes_ * 100 / uploadTotalBytes_);
    if (output != nullptr) *output = static_cast<uint32_t>(value);
    KLOG_INFO << "上传进度值:" << value << ",时间:" << Now64();
    return kResultOk;
}

int32_t Client::TransferProgress(uint32_t* output) {
    int32_t value = GetProgress();
    if (output != nullptr) *output = static_cast<uint32_t>(value);
    KLOG_INFO << "返回的进度值:" << value << ",时间:" << Now64();
    return kResultOk;
}

}  // namespace kerrow
