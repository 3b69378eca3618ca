// The records that the operations fill and the message builders read, and
// the items that the list readers deliver. Every builder is a pure function of
// one of these records; every list reader appends items of one of them.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace kerrow {

// ---- Camera ---------------------------------------------------------------

// Camera fields as the camera messages and the alarm carry them, filled from
// the connection's ConnectionRecord.
struct CameraRequest {
    std::string guid;
    std::string cameraId;
    std::string cameraName;
    int32_t cameraType = 0;
    std::string encoderName;
    int32_t encoderType = 0;
    std::string encoderIp;
    std::string encoderDns;
    uint8_t encoderByDns = 0;
    uint32_t encoderPort = 0;
    std::string encoderUsername;
    std::string encoderPassword;
    uint16_t encoderChannel = 0;
    std::string forwardServerIp;
    uint32_t forwardServerPort = 0;
    std::string cameraDesc;
    uint16_t preRecord = 0;
};

// ---- Alarms and manual recording -------------------------------------------

struct AlarmRequest {
    CameraRequest camera;
    uint16_t maxRecordTime = 0;
    std::string alarmType;
    std::string alarmDatetime;
};

// Names a camera: Stop_Alarm, StopTask and StopTaskEx. The two words of
// StopTask travel in the record but are never sent.
struct CameraSelector {
    std::string cameraGuid;
    uint32_t word1 = 0;
    uint32_t word2 = 0;
};

// ---- Record policies -------------------------------------------------------

// Names a policy (Modify, Del) or a camera's policies (DelAll).
struct PolicySelector {
    std::string cameraGuid;
    uint32_t policyId = 0;
    uint16_t policyStatus = 0;
};

// One task of AddTask, ModifyTask and DelTask.
struct TaskRequest {
    uint32_t policyId = 0;
    uint32_t taskId = 0;
    std::string startYearMonth;
    uint16_t startDay = 0;
    uint16_t dayOfWeek = 0;
    std::string startTime;
    std::string endYearMonth;
    uint16_t endDay = 0;
    std::string endTime;
    uint16_t status = 0;
};

// One task entry of the add-policy request.
struct PolicyTaskEntry {
    std::string startYearMonth;
    uint32_t startDay = 0;
    uint16_t dayOfWeek = 0;
    std::string startTime;
    std::string endYearMonth;
    uint16_t endDay = 0;
    std::string endTime;
};

// RecordPolicy_Start: the full form (Method 103) sends the tasks; the
// manual-recording form (record type 3, Method 111) only cameraGuid and
// maxRecordTime.
struct AddPolicyRequest {
    std::string cameraGuid;
    int16_t recordType = 0;
    int16_t cronType = 0;
    uint16_t taskCount = 0;
    std::vector<PolicyTaskEntry> tasks;
    uint16_t preRecord = 0;  // carried, not sent
    uint16_t maxRecordTime = 0;
};

struct PolicyQuery {
    uint16_t itemCount = 0;
    std::string cameraGuid;
    int16_t recordType = 0;
};

struct TaskQuery {
    uint16_t itemCount = 0;
    std::string cameraGuid;
    int16_t recordType = 0;
    int16_t cronType = 0;
};

// ---- File catalogue --------------------------------------------------------

struct FileQuery {
    std::string cameraGuid;
    int16_t recordType = 0;
    std::string alarmType;  // never sent: AlarmType carries recordType
    std::string startTime;
    std::string endTime;
};

// A stored file: DeleteFile (516), BackupFile (515), ModifyFilePermission.
struct FileRecord {
    uint32_t reserved[2] = {0, 0};
    uint16_t method = 0;
    uint32_t fileId = 0;
    int16_t recordType = 0;
    uint16_t filePermission = 0;
};

// ---- Media transfers -------------------------------------------------------

// StartVideoPlay (500) and StartVideoDownLoad (510).
struct MediaRequest {
    uint32_t reserved[2] = {0, 0};
    uint16_t Method = 0;
    uint16_t FilesNum = 0;
    uint16_t PlayType = 0;  // 1 by stored file, 2 by camera and time range
    uint32_t FileID = 0;
    std::string CameraGUID;
    uint16_t RecordType = 0;
    std::string StartTime;
    std::string EndTime;
};

// Playback controls (507) and StopVideoPlay (501).
struct PlayControl {
    uint32_t reserved[2] = {0, 0};
    uint16_t Method = 0;
    uint32_t ClientId = 0;
    uint16_t PlayAction = 0;  // 1 pause, 2 resume, 3 speed, 4 jump, 5 position
    float PlaySpeed = 0;
    uint16_t Position = 0;
};

// StartVideoUpLoad (519).
struct UploadRequest {
    uint32_t reserved[2] = {0, 0};
    uint16_t Method = 0;
    uint16_t MediaType = 0;
    uint32_t EncoderType = 0;
    int32_t FileSize = 0;
    std::string StartTime;
    std::string EndTime;
    std::string OprID;
    std::string FileDesc;
    std::string Uploader;
    std::string Label;
    std::string ControlCenter;
};

// ---- List replies ----------------------------------------------------------

// One File of the GetVideoFileList reply.
struct FileEntry {
    uint32_t fileId = 0;
    std::string cameraGuid;
    std::string alarmType;
    std::string alarmDatetime;
    int16_t recordType = 0;
    uint32_t fileSize = 0;
    std::string startTime;
    std::string endTime;
    int16_t fileStatus = 0;
    int16_t filePermission = 0;
};

// One Task of the RecordPolicy_QueryTask reply.
struct TaskRecord {
    uint32_t taskId = 0;
    std::string cameraGuid;
    std::string alarmType;
    std::string alarmDatetime;
    int16_t recordType = 0;
    int16_t cronType = 0;
    int16_t dayOfWeek = 0;
    std::string startDatetime;
    std::string endDatetime;
    std::string fileName;
    uint32_t fileSize = 0;
    int16_t taskStatus = 0;
};

// One Task of a Policy of the RecordPolicy_Query reply.
struct PolicyTaskItem {
    uint32_t taskId = 0;
    std::string startYearMonth;
    int16_t startDay = 0;
    int16_t dayOfWeek = 0;
    std::string startTime;
    std::string endYearMonth;
    int16_t endDay = 0;
    std::string endTime;
    int16_t status = 0;
};

// One Policy of the RecordPolicy_Query reply.
struct PolicyEntry {
    uint32_t policyId = 0;
    std::string cameraGuid;
    int16_t recordType = 0;
    int16_t cronType = 0;
    int16_t policyStatus = 0;
    std::string createTime;
    std::string updateTime;
    uint16_t taskCount = 0;
    std::vector<PolicyTaskItem> tasks;
};

// The head of a list reply: what ParseEnvelopeHeader reads, and the number
// of items the reply announces (0 until read).
struct ReplyHead {
    int32_t ContentLength = 0;
    int32_t ContentType = 0;
    uint16_t Method = 0;
    int32_t TotalResult = 0;
};

// A list reply's head and its items, in document order.
template <class Item>
struct ListReply : ReplyHead {
    std::vector<Item> Items;
};

}  // namespace kerrow
