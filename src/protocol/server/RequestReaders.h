// The server's readers of the requests that clients send: one reader per
// request builder of the client, each taking a parsed message back into the
// record that the builder printed. Readers never log; what was missing or
// malformed is written into a Problems list, one line per element, naming
// its path ("Action-Control-Camera-GUID element not found", "Action-Modify-
// FileID malformed: 'x'"). A reader fills every field it can and returns
// false when any element that the client always sends was missing or did not
// hold a number of the field's range.
//
// Fields that do not travel keep the record's defaults: the reserved words,
// CameraSelector's two words, FileQuery's alarmType, the preRecord of
// AddPolicyRequest, the cameraName of AddDevice and MdyDevice, the camera
// fields other than guid of DelDevice, and so on. Fields that the message
// derives are derived back: AddPolicyRequest::taskCount from Tasksnum, the
// task query's itemCount from the criteria present, absent criteria of the
// queries as -1 (record and cron type) and "" (camera).
//
// Numbers are read strictly: an optional minus sign and decimal digits, in
// the range of the text the builder prints (a uint16_t field printed as a
// signed 16-bit number reads "-1" as 65535). Element order does not matter;
// the first element of a name is taken.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "protocol/Records.h"

class TiXmlDocument;

namespace kerrow {

using Problems = std::vector<std::string>;

// The two messages that the client builds from plain numbers.
// Action/ClientId alone: StopVideoDownLoad (511), StopBackupFile (518),
// StopVideoUpLoad (520).
struct ClientIdMessage {
    int32_t method = 0;
    uint32_t clientId = 0;
};
// Action/ClientId and Action/ControlResponse/Code: the client's
// upload-finished notice (519).
struct ControlResponseMessage {
    int32_t method = 0;
    uint32_t clientId = 0;
    int32_t code = 0;
};

// Every reader: document in, record out, problems appended when problems is
// not null; true when the request was whole.

// Camera (100, 101, 102).
bool ReadAddDeviceRequest(const TiXmlDocument& document, CameraRequest& camera,
                          Problems* problems = nullptr);
bool ReadMdyDeviceRequest(const TiXmlDocument& document, CameraRequest& camera,
                          Problems* problems = nullptr);
bool ReadDelDeviceRequest(const TiXmlDocument& document, CameraRequest& camera,
                          Problems* problems = nullptr);

// Record policies (103 to 108, 113, 200, 201).
bool ReadPolicyStartRequest(const TiXmlDocument& document, AddPolicyRequest& policy,
                            Problems* problems = nullptr);
bool ReadPolicyModifyRequest(const TiXmlDocument& document, PolicySelector& selector,
                             Problems* problems = nullptr);
bool ReadPolicyDelRequest(const TiXmlDocument& document, PolicySelector& selector,
                          Problems* problems = nullptr);
bool ReadAddTaskRequest(const TiXmlDocument& document, TaskRequest& task,
                        Problems* problems = nullptr);
bool ReadModifyTaskRequest(const TiXmlDocument& document, TaskRequest& task,
                           Problems* problems = nullptr);
bool ReadDelTaskRequest(const TiXmlDocument& document, TaskRequest& task,
                        Problems* problems = nullptr);
bool ReadPolicyDelAllRequest(const TiXmlDocument& document, PolicySelector& selector,
                             Problems* problems = nullptr);
bool ReadPolicyQueryRequest(const TiXmlDocument& document, PolicyQuery& query,
                            Problems* problems = nullptr);
bool ReadTaskQueryRequest(const TiXmlDocument& document, TaskQuery& query,
                          Problems* problems = nullptr);

// Alarms and manual recording (109 to 112). The alarm's camera keeps its
// name in cameraName; its PreRecord (always 0) goes to camera.preRecord. The
// manual-recording start sets recordType 3, which its Method stands for.
bool ReadAlarmRequest(const TiXmlDocument& document, AlarmRequest& alarm,
                      Problems* problems = nullptr);
bool ReadStopAlarmRequest(const TiXmlDocument& document, CameraSelector& selector,
                          Problems* problems = nullptr);
bool ReadPolicyStartType3Request(const TiXmlDocument& document, AddPolicyRequest& policy,
                                 Problems* problems = nullptr);
bool ReadStopTaskRequest(const TiXmlDocument& document, CameraSelector& selector,
                         Problems* problems = nullptr);

// File catalogue (600, 514, 515, 516). FileRecord::method is the message's
// Method.
bool ReadFileListRequest(const TiXmlDocument& document, FileQuery& query,
                         Problems* problems = nullptr);
bool ReadFileModifyRequest(const TiXmlDocument& document, FileRecord& file,
                           Problems* problems = nullptr);
bool ReadFilePermissionRequest(const TiXmlDocument& document, FileRecord& file,
                               Problems* problems = nullptr);

// Media transfers (500, 501, 507, 510, 511, 518, 519, 520). The records'
// Method is the message's Method. A StopVideoPlay (501) has no Control; its
// PlayAction, PlaySpeed and Position stay 0.
bool ReadPlayRequest(const TiXmlDocument& document, MediaRequest& request,
                     Problems* problems = nullptr);
bool ReadDownloadRequest(const TiXmlDocument& document, MediaRequest& request,
                         Problems* problems = nullptr);
bool ReadPlayControlRequest(const TiXmlDocument& document, PlayControl& control,
                            Problems* problems = nullptr);
bool ReadUploadRequest(const TiXmlDocument& document, UploadRequest& request,
                       Problems* problems = nullptr);
bool ReadClientIdMessage(const TiXmlDocument& document, ClientIdMessage& message,
                         Problems* problems = nullptr);
bool ReadControlResponseMessage(const TiXmlDocument& document, ControlResponseMessage& message,
                                Problems* problems = nullptr);

}  // namespace kerrow
