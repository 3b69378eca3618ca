// Camera, record-policy, alarm and file-catalogue exports: each turns its
// arguments into the command's input record and dispatches it.
#include "KerrowSDK.h"
#include "api/Conversions.h"
#include "api/Dispatch.h"
#include "client/Commands.h"

using namespace kerrow;

namespace {

// Tests the library state first, so that nothing is built while it is not
// initialised.
bool Initialised() { return library::Registry() != nullptr; }

int SendTaskRequest(uint32_t connectionId, int32_t code, const TaskRequest& request) {
    return Dispatch(connectionId, code, const_cast<TaskRequest*>(&request));
}

}  // namespace

KERROW_API int KERROW_CALL Kerrow_AddDevice(uint32_t connectionId) {
    uint32_t none = 0;
    return Dispatch(connectionId, kCmdAddDevice, &none);
}

KERROW_API int KERROW_CALL Kerrow_MdyDevice(uint32_t connectionId) {
    uint32_t none = 0;
    return Dispatch(connectionId, kCmdMdyDevice, &none);
}

KERROW_API int KERROW_CALL Kerrow_DelDevice(uint32_t connectionId) {
    uint32_t none = 0;
    return Dispatch(connectionId, kCmdDelDevice, &none);
}

KERROW_API int KERROW_CALL Kerrow_RecordPolicy_Start(uint32_t connectionId,
                                                     const RecordPolicy* policy) {
    return Dispatch(connectionId, kCmdPolicyStart, const_cast<RecordPolicy*>(policy));
}

KERROW_API int KERROW_CALL Kerrow_RecordPolicy_Modify(uint32_t connectionId, uint32_t policyId,
                                                      uint16_t status) {
    PolicySelector selector;
    selector.policyId = policyId;
    selector.policyStatus = status;
    return Dispatch(connectionId, kCmdPolicyModify, &selector);
}

KERROW_API int KERROW_CALL Kerrow_RecordPolicy_Del(uint32_t connectionId, uint32_t policyId) {
    PolicySelector selector;
    selector.policyId = policyId;
    return Dispatch(connectionId, kCmdPolicyDel, &selector);
}

KERROW_API int KERROW_CALL Kerrow_RecordPolicy_ModifyTask(uint32_t connectionId, uint32_t policyId,
                                                          const PolicyTask* task) {
    if (!Initialised()) return kResultNotInitialised;
    if (task == nullptr) return kResultBadArgument;
    return SendTaskRequest(connectionId, kCmdModifyTask,
                           TaskRequestFromPolicyTask(policyId, *task, true));
}

KERROW_API int KERROW_CALL Kerrow_RecordPolicy_DelTask(uint32_t connectionId, uint32_t /*policyId*/,
                                                       uint32_t taskId) {
    // Only the task id is sent; the policy id is not used.
    TaskRequest request;
    request.taskId = taskId;
    return SendTaskRequest(connectionId, kCmdDelTask, request);
}

KERROW_API int KERROW_CALL Kerrow_RecordPolicy_AddTask(uint32_t connectionId, uint32_t policyId,
                                                       const PolicyTask* task) {
    if (!Initialised()) return kResultNotInitialised;
    if (task == nullptr) return kResultBadArgument;
    return SendTaskRequest(connectionId, kCmdAddTask,
                           TaskRequestFromPolicyTask(policyId, *task, false));
}

KERROW_API int KERROW_CALL Kerrow_RecordPolicy_StopTask(uint32_t connectionId, uint32_t a1,
                                                        uint32_t a2) {
    CameraSelector selector;
    selector.word1 = a1;
    selector.word2 = a2;
    return Dispatch(connectionId, kCmdStopTask, &selector);
}

namespace {

int DispatchCameraText(uint32_t connectionId, int32_t code, const char* cameraGuid) {
    if (!Initialised()) return kResultNotInitialised;
    if (cameraGuid == nullptr) return kResultBadArgument;
    CameraSelector selector;
    selector.cameraGuid = cameraGuid;
    return Dispatch(connectionId, code, &selector);
}

}  // namespace

KERROW_API int KERROW_CALL Kerrow_RecordPolicy_StopTaskEx(uint32_t connectionId,
                                                          const char* cameraGuid) {
    return DispatchCameraText(connectionId, kCmdStopTaskEx, cameraGuid);
}

KERROW_API int KERROW_CALL Kerrow_Stop_Alarm(uint32_t connectionId, const char* cameraGuid) {
    return DispatchCameraText(connectionId, kCmdStopAlarm, cameraGuid);
}

KERROW_API int KERROW_CALL Kerrow_RecordPolicy_Alarm(uint32_t connectionId,
                                                     const AlarmInput* alarm) {
    if (!Initialised()) return kResultNotInitialised;
    if (alarm == nullptr) return kResultBadArgument;
    AlarmRequest request = AlarmRequestFromInput(*alarm);
    return Dispatch(connectionId, kCmdAlarm, &request);
}

KERROW_API int KERROW_CALL Kerrow_RecordPolicy_DelAll(uint32_t connectionId,
                                                      const char* cameraGuid) {
    if (!Initialised()) return kResultNotInitialised;
    if (cameraGuid == nullptr) return kResultBadArgument;
    PolicySelector selector;
    selector.cameraGuid = cameraGuid;
    return Dispatch(connectionId, kCmdPolicyDelAll, &selector);
}

KERROW_API int KERROW_CALL Kerrow_RecordPolicy_Query(uint32_t connectionId, const char* cameraGuid,
                                                     uint32_t recordType,
                                                     std::list<RecordPolicy>* result) {
    if (!Initialised()) return kResultNotInitialised;
    if (cameraGuid == nullptr) return kResultBadArgument;
    PolicyQuery query = PolicyQueryFromArguments(cameraGuid, recordType);
    return Dispatch(connectionId, kCmdPolicyQuery, &query, result);
}

KERROW_API int KERROW_CALL Kerrow_RecordPolicy_QueryTask(uint32_t connectionId,
                                                         const char* cameraGuid,
                                                         uint16_t recordType, uint16_t cronType,
                                                         std::list<PolicyTaskInfo>* result) {
    if (!Initialised()) return kResultNotInitialised;
    if (cameraGuid == nullptr) return kResultBadArgument;
    TaskQuery query = TaskQueryFromArguments(cameraGuid, recordType, cronType);
    return Dispatch(connectionId, kCmdTaskQuery, &query, result);
}

KERROW_API int KERROW_CALL Kerrow_GetVideoFileList(uint32_t connectionId, const char* cameraGuid,
                                                   uint16_t recordType, const char* alarmType,
                                                   TransferTime start, TransferTime end,
                                                   std::list<VideoFileInfo>* result) {
    if (!Initialised()) return kResultNotInitialised;
    if (cameraGuid == nullptr || alarmType == nullptr) return kResultBadArgument;
    FileQuery query = FileQueryFromArguments(cameraGuid, recordType, alarmType, start, end);
    return Dispatch(connectionId, kCmdFileList, &query, result);
}

namespace {

int DispatchFileRecord(uint32_t connectionId, int32_t code, const char* fileName,
                       uint16_t permission, void* extra) {
    if (!Initialised()) return kResultNotInitialised;
    if (fileName == nullptr) return kResultBadArgument;
    FileRecord record = FileRecordFromName(fileName);
    record.filePermission = permission;
    return Dispatch(connectionId, code, &record, nullptr, extra);
}

}  // namespace

KERROW_API int KERROW_CALL Kerrow_ModifyFilePermission(uint32_t connectionId, const char* fileName,
                                                       uint16_t permission) {
    return DispatchFileRecord(connectionId, kCmdModifyFilePermission, fileName, permission,
                              nullptr);
}

KERROW_API int KERROW_CALL Kerrow_DeleteFile(uint32_t connectionId, const char* fileName) {
    return DispatchFileRecord(connectionId, kCmdDeleteFile, fileName, 0, nullptr);
}

KERROW_API int KERROW_CALL Kerrow_BackupFile(uint32_t connectionId, const char* fileName,
                                             uint32_t* transferHandle) {
    return DispatchFileRecord(connectionId, kCmdBackupFile, fileName, 0, transferHandle);
}

KERROW_API int KERROW_CALL Kerrow_GetBackupFilePos(uint32_t connectionId, uint32_t transferHandle,
                                                   uint32_t* position) {
    return Dispatch(connectionId, kCmdGetBackupPos, &transferHandle, position, &transferHandle);
}

KERROW_API int KERROW_CALL Kerrow_StopBackupFile(uint32_t connectionId, uint32_t transferHandle) {
    return Dispatch(connectionId, kCmdStopBackup, &transferHandle, nullptr, &transferHandle);
}
