/*
 * KerrowSDK: client library of the video storage server.
 *
 * Every export returns a 32-bit result code (0 is success; the codes are
 * listed in README.md). On i386 the exports and callbacks use the stdcall
 * convention and every argument is a 32-bit stack word; the records below are
 * laid out at the offsets that the binding ABI fixes.
 *
 * Typical use: Kerrow_Init, Kerrow_Connect (one connection per camera and per
 * transfer), operations, Kerrow_Disconnect for each connection, Kerrow_Release.
 */
#ifndef KERROWSDK_H
#define KERROWSDK_H

#include <stdint.h>

#include <list>

#if defined(__i386__)
#define KERROW_CALL __attribute__((stdcall))
#else
#define KERROW_CALL
#endif

#if defined(KERROW_BUILDING)
#define KERROW_API extern "C" __attribute__((visibility("default")))
#else
#define KERROW_API extern "C"
#endif

/* A local date and time; passed by value (three 32-bit words on i386). */
struct TransferTime {
    int16_t year;
    int16_t month;
    int16_t day;
    int16_t hour;
    int16_t minute;
    int16_t second;
};

/* The storage server to connect to and the camera that the connection works
 * for. Texts are zero-terminated and must fit their fields. */
struct ConnectionRecord {
    char cameraId[128]; /* sent as the camera GUID and as CameraID */
    char cameraName[64];
    uint16_t encoderChannel;
    uint8_t reserved1[2];
    uint8_t encoderByDns; /* nonzero: the encoder is reached by DNS name */
    char encoderDns[128];
    uint8_t padding1[3];
    int32_t cameraType; /* also sent as the encoder type */
    char encoderName[128];
    char encoderIp[16];
    uint32_t encoderPort;
    char encoderUsername[32];
    char encoderPassword[32];
    uint8_t reserved2[20];
    char serverAddress[16];     /* storage server, dotted IPv4 */
    int32_t serverPort;         /* used when greater than 0 */
    int32_t serverPortFallback; /* used only when serverPort is not greater than 0 */
    uint8_t reserved3[64];
    char forwardServerIp[16];
    uint32_t forwardServerPort;
    uint8_t reserved4[64];
    char cameraDesc[128];
    uint16_t preRecord;
    uint8_t padding2[2];
};

/* One scheduled task of a record policy. */
struct PolicyTask {
    uint32_t taskId; /* 0 for a new task */
    uint16_t startYear;
    uint16_t startMonth;
    int16_t startDay;
    uint16_t startHour;
    uint16_t startMinute;
    uint16_t startSecond;
    uint16_t endYear;
    uint16_t endMonth;
    uint16_t endDay;
    uint16_t endHour;
    uint16_t endMinute;
    uint16_t endSecond;
    uint32_t dayOfWeek; /* only the low 16 bits are sent */
    int32_t status;
};

/* A record policy: record type 2 forces cron type 0; record type 3 is manual
 * recording for maxRecordTime. */
struct RecordPolicy {
    uint32_t policyId;
    char cameraGuid[64];
    int32_t recordType;
    int32_t cronType;
    int32_t policyStatus;
    TransferTime createTime;
    TransferTime updateTime;
    uint32_t reserved;
    int32_t taskCount;
    uint32_t maxRecordTime;
    std::list<PolicyTask> tasks;
};

/* One task as Kerrow_RecordPolicy_QueryTask returns it. Texts are cut to
 * their field; a full field has no terminating zero. */
struct PolicyTaskInfo {
    uint32_t taskId;
    char cameraGuid[64];
    char alarmType[32];
    TransferTime alarmTime;
    int32_t recordType;
    int32_t cronType;
    int32_t dayOfWeek;
    TransferTime startTime;
    TransferTime endTime;
    char fileName[128];
    int32_t fileSize;
    int32_t taskStatus;
};

/* An alarm on the connection's camera. */
struct AlarmInput {
    char alarmType[32];
    TransferTime alarmTime;
    uint16_t maxRecordTime;
};

/* One recorded file. fileId is the 12-digit file name (record type digit and
 * eleven digits of the file number) that the file operations take back. */
struct VideoFileInfo {
    char fileId[12];
    char cameraGuid[64];
    char alarmType[32];
    TransferTime alarmTime;
    int32_t recordType;
    int32_t fileSize;
    TransferTime startTime;
    TransferTime endTime;
    int32_t fileStatus;
    int32_t filePermission;
};

/* A local file to upload, with its description. */
struct UploadFileInfo {
    char FilePath[128];
    uint16_t MediaType;
    uint8_t padding[2];
    uint32_t EncoderType;
    TransferTime StartTime;
    TransferTime EndTime;
    char OprID[64];
    char FileDesc[128];
    char Uploader[128];
    char Label[128];
    char ControlCenter[128];
};

/* End of a transfer: finished is 1 for a normal end, 0 for an upload that
 * ended short. Runs on the transfer's worker thread. */
typedef void(KERROW_CALL* TerminalCallBack)(uint32_t connectionId, uint32_t transferHandle,
                                            uint32_t finished, void* user);
/* Media of a playback: contentType 1 and 3 are header blocks, 2 and 4 data.
 * data is valid only during the call, which runs on the worker thread. */
typedef void(KERROW_CALL* PlayDataCallBack)(uint32_t connectionId, uint32_t transferHandle,
                                            uint32_t contentType, const uint8_t* data,
                                            uint32_t length, void* user);

/* Library and connections */
KERROW_API int KERROW_CALL Kerrow_Init(void);
KERROW_API int KERROW_CALL Kerrow_Release(void);
KERROW_API int KERROW_CALL Kerrow_GetVersion(void);
KERROW_API int KERROW_CALL Kerrow_GetLastError(void);
KERROW_API int KERROW_CALL Kerrow_GetTaskNum(void);
KERROW_API int KERROW_CALL Kerrow_Connect(const ConnectionRecord* record, uint32_t* connectionId);
KERROW_API int KERROW_CALL Kerrow_Disconnect(uint32_t connectionId);

/* Callbacks */
KERROW_API int KERROW_CALL Kerrow_SetMessageCallBack(void* callback, void* user);
KERROW_API int KERROW_CALL Kerrow_SetVideoDownLoadDataCallBack(uint32_t connectionId,
                                                               uint32_t transferHandle,
                                                               void* callback, void* user);
KERROW_API int KERROW_CALL Kerrow_SetVideoPlayTerminalCallBack(uint32_t connectionId,
                                                               uint32_t transferHandle,
                                                               TerminalCallBack callback,
                                                               void* user);
KERROW_API int KERROW_CALL Kerrow_SetVideoDownLoadTerminalCallBack(uint32_t connectionId,
                                                                   uint32_t transferHandle,
                                                                   TerminalCallBack callback,
                                                                   void* user);
KERROW_API int KERROW_CALL Kerrow_SetVideoUpLoadTerminalCallBack(uint32_t connectionId,
                                                                 uint32_t transferHandle,
                                                                 TerminalCallBack callback,
                                                                 void* user);
KERROW_API int KERROW_CALL Kerrow_SetVideoBackupTerminalCallBack(uint32_t connectionId,
                                                                 uint32_t transferHandle,
                                                                 TerminalCallBack callback,
                                                                 void* user);
KERROW_API int KERROW_CALL Kerrow_SetVideoPlayDataCallBack(uint32_t connectionId,
                                                           uint32_t transferHandle,
                                                           PlayDataCallBack callback, void* user);

/* Camera */
KERROW_API int KERROW_CALL Kerrow_AddDevice(uint32_t connectionId);
KERROW_API int KERROW_CALL Kerrow_MdyDevice(uint32_t connectionId);
KERROW_API int KERROW_CALL Kerrow_DelDevice(uint32_t connectionId);

/* Record policies, tasks, alarms and manual recording */
KERROW_API int KERROW_CALL Kerrow_RecordPolicy_Start(uint32_t connectionId,
                                                     const RecordPolicy* policy);
KERROW_API int KERROW_CALL Kerrow_RecordPolicy_Modify(uint32_t connectionId, uint32_t policyId,
                                                      uint16_t status);
KERROW_API int KERROW_CALL Kerrow_RecordPolicy_Del(uint32_t connectionId, uint32_t policyId);
KERROW_API int KERROW_CALL Kerrow_RecordPolicy_ModifyTask(uint32_t connectionId, uint32_t policyId,
                                                          const PolicyTask* task);
KERROW_API int KERROW_CALL Kerrow_RecordPolicy_DelTask(uint32_t connectionId, uint32_t policyId,
                                                       uint32_t taskId);
KERROW_API int KERROW_CALL Kerrow_RecordPolicy_AddTask(uint32_t connectionId, uint32_t policyId,
                                                       const PolicyTask* task);
KERROW_API int KERROW_CALL Kerrow_RecordPolicy_StopTask(uint32_t connectionId, uint32_t a1,
                                                        uint32_t a2);
KERROW_API int KERROW_CALL Kerrow_RecordPolicy_StopTaskEx(uint32_t connectionId,
                                                          const char* cameraGuid);
KERROW_API int KERROW_CALL Kerrow_RecordPolicy_Alarm(uint32_t connectionId,
                                                     const AlarmInput* alarm);
KERROW_API int KERROW_CALL Kerrow_Stop_Alarm(uint32_t connectionId, const char* cameraGuid);
KERROW_API int KERROW_CALL Kerrow_RecordPolicy_DelAll(uint32_t connectionId,
                                                      const char* cameraGuid);
KERROW_API int KERROW_CALL Kerrow_RecordPolicy_Query(uint32_t connectionId, const char* cameraGuid,
                                                     uint32_t recordType,
                                                     std::list<RecordPolicy>* result);
KERROW_API int KERROW_CALL Kerrow_RecordPolicy_QueryTask(uint32_t connectionId,
                                                         const char* cameraGuid,
                                                         uint16_t recordType, uint16_t cronType,
                                                         std::list<PolicyTaskInfo>* result);

/* Playback */
KERROW_API int KERROW_CALL Kerrow_StartVideoPlay_F(uint32_t connectionId, const char* fileName,
                                                   uint32_t* transferHandle);
KERROW_API int KERROW_CALL Kerrow_StartVideoPlay_T(uint32_t connectionId, uint16_t recordType,
                                                   TransferTime start, TransferTime end,
                                                   uint32_t* transferHandle);
KERROW_API int KERROW_CALL Kerrow_StopVideoPlay(uint32_t connectionId, uint32_t transferHandle);
KERROW_API int KERROW_CALL Kerrow_VideoPlayFast(uint32_t connectionId, uint32_t transferHandle,
                                                float speed);
KERROW_API int KERROW_CALL Kerrow_VideoPlaySlow(uint32_t connectionId, uint32_t transferHandle,
                                                float speed);
KERROW_API int KERROW_CALL Kerrow_VideoPlayPause(uint32_t connectionId, uint32_t transferHandle);
KERROW_API int KERROW_CALL Kerrow_VideoPlayResume(uint32_t connectionId, uint32_t transferHandle);
KERROW_API int KERROW_CALL Kerrow_VideoPlayJump(uint32_t connectionId, uint32_t transferHandle,
                                                uint32_t position);
KERROW_API int KERROW_CALL Kerrow_GetVideoPlayPos(uint32_t connectionId, uint32_t transferHandle,
                                                  uint32_t* position);

/* File catalogue and backup */
KERROW_API int KERROW_CALL Kerrow_GetVideoFileList(uint32_t connectionId, const char* cameraGuid,
                                                   uint16_t recordType, const char* alarmType,
                                                   TransferTime start, TransferTime end,
                                                   std::list<VideoFileInfo>* result);
KERROW_API int KERROW_CALL Kerrow_ModifyFilePermission(uint32_t connectionId, const char* fileName,
                                                       uint16_t permission);
KERROW_API int KERROW_CALL Kerrow_DeleteFile(uint32_t connectionId, const char* fileName);
KERROW_API int KERROW_CALL Kerrow_BackupFile(uint32_t connectionId, const char* fileName,
                                             uint32_t* transferHandle);
KERROW_API int KERROW_CALL Kerrow_GetBackupFilePos(uint32_t connectionId, uint32_t transferHandle,
                                                   uint32_t* position);
KERROW_API int KERROW_CALL Kerrow_StopBackupFile(uint32_t connectionId, uint32_t transferHandle);

/* Upload */
KERROW_API int KERROW_CALL Kerrow_StartVideoUpLoad(uint32_t connectionId,
                                                   const UploadFileInfo* info,
                                                   uint32_t* transferHandle);
KERROW_API int KERROW_CALL Kerrow_StopVideoUpLoad(uint32_t connectionId, uint32_t* transferHandle);
KERROW_API int KERROW_CALL Kerrow_GetVideoUpLoadPos(uint32_t connectionId, uint32_t transferHandle,
                                                    uint32_t* position);

/* Download */
KERROW_API int KERROW_CALL Kerrow_StartVideoDownLoad_F(uint32_t connectionId, const char* fileName,
                                                       const char* localPath,
                                                       uint32_t* transferHandle);
KERROW_API int KERROW_CALL Kerrow_StartVideoDownLoad_T(uint32_t connectionId, uint16_t recordType,
                                                       TransferTime start, TransferTime end,
                                                       const char* localPath,
                                                       uint32_t* transferHandle);
KERROW_API int KERROW_CALL Kerrow_StopVideoDownLoad(uint32_t connectionId, uint32_t transferHandle);
KERROW_API int KERROW_CALL Kerrow_GetVideoDownLoadPos(uint32_t connectionId,
                                                      uint32_t transferHandle, uint32_t* position);

#endif /* KERROWSDK_H */
