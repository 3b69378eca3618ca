// Compile-time checks of the binding ABI: on i386 every application record
// sits at the offsets the applications were built against, and every export
// takes the number of 32-bit argument words that its stdcall name promises.
#include <cstddef>

#include "KerrowSDK.h"

// RecordPolicy holds a std::list, which makes it a non-standard-layout type;
// g++ lays it out in declaration order all the same.
#pragma GCC diagnostic ignored "-Winvalid-offsetof"

namespace {

#define KERROW_OFFSET(type, field, offset) \
    static_assert(offsetof(type, field) == (offset), #type "." #field " is at " #offset)

// Sizes that hold in every flavour (the records hold no pointers).
static_assert(sizeof(TransferTime) == 12, "TransferTime is 12 bytes");
static_assert(sizeof(ConnectionRecord) == 868, "ConnectionRecord is 868 bytes");
static_assert(sizeof(PolicyTask) == 36, "PolicyTask is 36 bytes");
static_assert(sizeof(PolicyTaskInfo) == 284, "PolicyTaskInfo is 284 bytes");
static_assert(sizeof(AlarmInput) == 46, "AlarmInput is 46 bytes");
static_assert(sizeof(VideoFileInfo) == 160, "VideoFileInfo is 160 bytes");
static_assert(sizeof(UploadFileInfo) == 736, "UploadFileInfo is 736 bytes");

KERROW_OFFSET(TransferTime, month, 2);
KERROW_OFFSET(TransferTime, second, 10);

KERROW_OFFSET(ConnectionRecord, cameraName, 128);
KERROW_OFFSET(ConnectionRecord, encoderChannel, 192);
KERROW_OFFSET(ConnectionRecord, encoderByDns, 196);
KERROW_OFFSET(ConnectionRecord, encoderDns, 197);
KERROW_OFFSET(ConnectionRecord, cameraType, 328);
KERROW_OFFSET(ConnectionRecord, encoderName, 332);
KERROW_OFFSET(ConnectionRecord, encoderIp, 460);
KERROW_OFFSET(ConnectionRecord, encoderPort, 476);
KERROW_OFFSET(ConnectionRecord, encoderUsername, 480);
KERROW_OFFSET(ConnectionRecord, encoderPassword, 512);
KERROW_OFFSET(ConnectionRecord, serverAddress, 564);
KERROW_OFFSET(ConnectionRecord, serverPort, 580);
KERROW_OFFSET(ConnectionRecord, serverPortFallback, 584);
KERROW_OFFSET(ConnectionRecord, forwardServerIp, 652);
KERROW_OFFSET(ConnectionRecord, forwardServerPort, 668);
KERROW_OFFSET(ConnectionRecord, cameraDesc, 736);
KERROW_OFFSET(ConnectionRecord, preRecord, 864);

KERROW_OFFSET(PolicyTask, startYear, 4);
KERROW_OFFSET(PolicyTask, startDay, 8);
KERROW_OFFSET(PolicyTask, startSecond, 14);
KERROW_OFFSET(PolicyTask, endYear, 16);
KERROW_OFFSET(PolicyTask, endSecond, 26);
KERROW_OFFSET(PolicyTask, dayOfWeek, 28);
KERROW_OFFSET(PolicyTask, status, 32);

KERROW_OFFSET(RecordPolicy, cameraGuid, 4);
KERROW_OFFSET(RecordPolicy, recordType, 68);
KERROW_OFFSET(RecordPolicy, cronType, 72);
KERROW_OFFSET(RecordPolicy, policyStatus, 76);
KERROW_OFFSET(RecordPolicy, createTime, 80);
KERROW_OFFSET(RecordPolicy, updateTime, 92);
KERROW_OFFSET(RecordPolicy, reserved, 104);
KERROW_OFFSET(RecordPolicy, taskCount, 108);
KERROW_OFFSET(RecordPolicy, maxRecordTime, 112);
#if defined(__i386__)
KERROW_OFFSET(RecordPolicy, tasks, 116);
static_assert(sizeof(RecordPolicy) == 128, "RecordPolicy is 128 bytes on i386");
#endif

KERROW_OFFSET(PolicyTaskInfo, cameraGuid, 4);
KERROW_OFFSET(PolicyTaskInfo, alarmType, 68);
KERROW_OFFSET(PolicyTaskInfo, alarmTime, 100);
KERROW_OFFSET(PolicyTaskInfo, recordType, 112);
KERROW_OFFSET(PolicyTaskInfo, cronType, 116);
KERROW_OFFSET(PolicyTaskInfo, dayOfWeek, 120);
KERROW_OFFSET(PolicyTaskInfo, startTime, 124);
KERROW_OFFSET(PolicyTaskInfo, endTime, 136);
KERROW_OFFSET(PolicyTaskInfo, fileName, 148);
KERROW_OFFSET(PolicyTaskInfo, fileSize, 276);
KERROW_OFFSET(PolicyTaskInfo, taskStatus, 280);

KERROW_OFFSET(AlarmInput, alarmTime, 32);
KERROW_OFFSET(AlarmInput, maxRecordTime, 44);

KERROW_OFFSET(VideoFileInfo, cameraGuid, 12);
KERROW_OFFSET(VideoFileInfo, alarmType, 76);
KERROW_OFFSET(VideoFileInfo, alarmTime, 108);
KERROW_OFFSET(VideoFileInfo, recordType, 120);
KERROW_OFFSET(VideoFileInfo, fileSize, 124);
KERROW_OFFSET(VideoFileInfo, startTime, 128);
KERROW_OFFSET(VideoFileInfo, endTime, 140);
KERROW_OFFSET(VideoFileInfo, fileStatus, 152);
KERROW_OFFSET(VideoFileInfo, filePermission, 156);

KERROW_OFFSET(UploadFileInfo, MediaType, 128);
KERROW_OFFSET(UploadFileInfo, EncoderType, 132);
KERROW_OFFSET(UploadFileInfo, StartTime, 136);
KERROW_OFFSET(UploadFileInfo, EndTime, 148);
KERROW_OFFSET(UploadFileInfo, OprID, 160);
KERROW_OFFSET(UploadFileInfo, FileDesc, 224);
KERROW_OFFSET(UploadFileInfo, Uploader, 352);
KERROW_OFFSET(UploadFileInfo, Label, 480);
KERROW_OFFSET(UploadFileInfo, ControlCenter, 608);

#if defined(__i386__)
// Argument words of a stdcall export: each argument rounded up to whole
// words. Only a stdcall function matches, so this also checks the convention.
template <class R, class... A>
constexpr size_t ArgumentWords(R(KERROW_CALL*)(A...)) {
    return (0 + ... + ((sizeof(A) + 3) / 4));
}
#define KERROW_WORDS(name, words) \
    static_assert(ArgumentWords(&name) == (words), #name " takes " #words " argument words")

KERROW_WORDS(Kerrow_Init, 0);
KERROW_WORDS(Kerrow_Release, 0);
KERROW_WORDS(Kerrow_GetVersion, 0);
KERROW_WORDS(Kerrow_GetLastError, 0);
KERROW_WORDS(Kerrow_GetTaskNum, 0);
KERROW_WORDS(Kerrow_AddDevice, 1);
KERROW_WORDS(Kerrow_MdyDevice, 1);
KERROW_WORDS(Kerrow_DelDevice, 1);
KERROW_WORDS(Kerrow_Disconnect, 1);
KERROW_WORDS(Kerrow_Connect, 2);
KERROW_WORDS(Kerrow_SetMessageCallBack, 2);
KERROW_WORDS(Kerrow_RecordPolicy_Start, 2);
KERROW_WORDS(Kerrow_RecordPolicy_Del, 2);
KERROW_WORDS(Kerrow_RecordPolicy_DelAll, 2);
KERROW_WORDS(Kerrow_RecordPolicy_StopTaskEx, 2);
KERROW_WORDS(Kerrow_RecordPolicy_Alarm, 2);
KERROW_WORDS(Kerrow_Stop_Alarm, 2);
KERROW_WORDS(Kerrow_StopVideoPlay, 2);
KERROW_WORDS(Kerrow_VideoPlayPause, 2);
KERROW_WORDS(Kerrow_VideoPlayResume, 2);
KERROW_WORDS(Kerrow_DeleteFile, 2);
KERROW_WORDS(Kerrow_StopBackupFile, 2);
KERROW_WORDS(Kerrow_StopVideoUpLoad, 2);
KERROW_WORDS(Kerrow_StopVideoDownLoad, 2);
KERROW_WORDS(Kerrow_RecordPolicy_Modify, 3);
KERROW_WORDS(Kerrow_RecordPolicy_ModifyTask, 3);
KERROW_WORDS(Kerrow_RecordPolicy_DelTask, 3);
KERROW_WORDS(Kerrow_RecordPolicy_AddTask, 3);
KERROW_WORDS(Kerrow_RecordPolicy_StopTask, 3);
KERROW_WORDS(Kerrow_StartVideoPlay_F, 3);
KERROW_WORDS(Kerrow_VideoPlayFast, 3);
KERROW_WORDS(Kerrow_VideoPlaySlow, 3);
KERROW_WORDS(Kerrow_VideoPlayJump, 3);
KERROW_WORDS(Kerrow_GetVideoPlayPos, 3);
KERROW_WORDS(Kerrow_ModifyFilePermission, 3);
KERROW_WORDS(Kerrow_BackupFile, 3);
KERROW_WORDS(Kerrow_GetBackupFilePos, 3);
KERROW_WORDS(Kerrow_StartVideoUpLoad, 3);
KERROW_WORDS(Kerrow_GetVideoUpLoadPos, 3);
KERROW_WORDS(Kerrow_GetVideoDownLoadPos, 3);
KERROW_WORDS(Kerrow_RecordPolicy_Query, 4);
KERROW_WORDS(Kerrow_StartVideoDownLoad_F, 4);
KERROW_WORDS(Kerrow_SetVideoDownLoadDataCallBack, 4);
KERROW_WORDS(Kerrow_SetVideoPlayTerminalCallBack, 4);
KERROW_WORDS(Kerrow_SetVideoDownLoadTerminalCallBack, 4);
KERROW_WORDS(Kerrow_SetVideoUpLoadTerminalCallBack, 4);
KERROW_WORDS(Kerrow_SetVideoBackupTerminalCallBack, 4);
KERROW_WORDS(Kerrow_SetVideoPlayDataCallBack, 4);
KERROW_WORDS(Kerrow_RecordPolicy_QueryTask, 5);
KERROW_WORDS(Kerrow_StartVideoPlay_T, 9);
KERROW_WORDS(Kerrow_StartVideoDownLoad_T, 10);
KERROW_WORDS(Kerrow_GetVideoFileList, 11);
#endif

}  // namespace
