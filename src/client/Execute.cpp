// The command dispatch of a Client: every numbered command of the connection
// runs here, one at a time, under the command lock. Each operation receives
// its own copy of the input record, completed from the connection's record
// where the command says so.
#include <list>

#include "client/Client.h"
#include "log/Log.h"
#include "net/Connection.h"
#include "platform/Files.h"
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

int32_t Client::Execute(int32_t code, void* input, void* output, void* extra) {
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
        case kCmdStartPlayByFile:
            result = StartPlay(CopyOf<MediaRequest>(input), static_cast<uint32_t*>(extra));
            break;
        case kCmdStartPlayByTime: {
            MediaRequest request = CopyOf<MediaRequest>(input);
            request.CameraGUID = FieldText(record_.cameraId);
            result = StartPlay(request, static_cast<uint32_t*>(extra));
            break;
        }
        case kCmdStopPlay:
            // A stop never fails once the Client is reached.
            ClearControlFlag(kAckStop);
            StopPlay(WithTaskId(input));
            break;
        case kCmdPlayFast:
            ClearControlFlag(kAckFast);
            result = PlayFast(WithTaskId(input));
            break;
        case kCmdPlaySlow:
            ClearControlFlag(kAckSlow);
            result = PlaySlow(WithTaskId(input));
            break;
        case kCmdPlayPause:
            ClearControlFlag(kAckPause);
            result = PlayPause(WithTaskId(input));
            break;
        case kCmdPlayResume:
            ClearControlFlag(kAckResume);
            result = PlayResume(WithTaskId(input));
            break;
        case kCmdPlayJump:
            ClearControlFlag(kAckJump);
            result = PlayJump(WithTaskId(input));
            break;
        case kCmdGetPlayPos:
            result = GetPlayPos(CopyOf<PlayControl>(input), static_cast<uint32_t*>(output));
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
        case kCmdBackupFile: {
            FileRecord file = CopyOf<FileRecord>(input);
            file.method = 515;
            result = StartBackup(file, static_cast<uint32_t*>(extra));
            break;
        }
        case kCmdStopBackup:
            ClearControlFlag(kAckStop);
            result = StopBackup(transferTaskId_.load());
            break;
        case kCmdStopUpload:
            ClearControlFlag(kAckStop);
            result = StopUpload(transferTaskId_.load());
            break;
        case kCmdStopDownload:
            ClearControlFlag(kAckStop);
            result = StopDownload(transferTaskId_.load());
            break;
        case kCmdStartUpload:
            result = PrepareUpload(*static_cast<const UploadFileInfo*>(input),
                                   static_cast<uint32_t*>(extra));
            break;
        case kCmdStartDownloadByFile:
        case kCmdStartDownloadByTime: {
            MediaRequest request = CopyOf<MediaRequest>(input);
            if (code == kCmdStartDownloadByTime) request.CameraGUID = FieldText(record_.cameraId);
            const char* path = static_cast<const char*>(output);
            result =
                StartDownload(request, path != nullptr ? path : "", static_cast<uint32_t*>(extra));
            break;
        }
        case kCmdGetBackupPos:
        case kCmdGetDownloadPos:
            result = GetTransferPos(static_cast<uint32_t*>(output));
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
            // Codes without an operation (the gaps of the table and codes out
            // of range) do nothing and answer 0.
            break;
    }
    if (!IsProgressQuery(code)) UpdateActiveTime();
    return result;
}

// The play controls carry the server's number of the transfer.
PlayControl Client::WithTaskId(void* input) const {
    PlayControl control = CopyOf<PlayControl>(input);
    control.ClientId = transferTaskId_.load();
    return control;
}

// The upload request is made from the application's record, and the file is
// measured first: an empty or unreadable file is refused before anything is
// sent.
int32_t Client::PrepareUpload(const UploadFileInfo& info, uint32_t* handle) {
    UploadRequest request;
    request.MediaType = info.MediaType;
    request.EncoderType = info.EncoderType;
    request.StartTime = FormatTransferTime(info.StartTime);
    request.EndTime = FormatTransferTime(info.EndTime);
    request.OprID = FieldText(info.OprID);
    request.FileDesc = FieldText(info.FileDesc);
    request.Uploader = FieldText(info.Uploader);
    request.Label = FieldText(info.Label);
    request.ControlCenter = FieldText(info.ControlCenter);
    const std::string path = FieldText(info.FilePath);
    request.FileSize = platform::FileSize32(path);
    if (request.FileSize <= 0) {
        KLOG_INFO << "上传文件大小为0，返回参数错误";
        SetLastError(kResultBadArgument);
        return kResultBadArgument;
    }
    uploadTotalBytes_.store(request.FileSize);
    return StartUpload(request, path, handle);
}

// Bytes of the upload handed to the network, in percent of the file.
int32_t Client::UploadProgress(uint32_t* output) {
    int32_t value = static_cast<int32_t>(uploadSentBytes_.load() * 100 / uploadTotalBytes_.load());
    if (output != nullptr) *output = static_cast<uint32_t>(value);
    KLOG_INFO << "上传进度值:" << value << ",时间:" << Now64();
    return kResultOk;
}

int32_t Client::GetTransferPos(uint32_t* output) {
    int32_t value = GetProgress();
    if (output != nullptr) *output = static_cast<uint32_t>(value);
    KLOG_INFO << "返回的进度值:" << value << ",时间:" << Now64();
    return kResultOk;
}

}  // namespace kerrow
