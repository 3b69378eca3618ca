// Readers of the camera, record-policy, alarm and manual-recording requests.
#include <tinyxml.h>

#include "protocol/server/ElementReader.h"
#include "protocol/server/RequestReaders.h"

namespace kerrow {
namespace {

// The Camera element's seventeen children. The add and modify requests send
// an empty CameraName; it is read all the same, as the alarm sends the name.
void ReadCamera(const ElementReader& camera, CameraRequest& out) {
    camera.Text("GUID", out.guid);
    camera.Text("CameraID", out.cameraId);
    camera.Text("CameraName", out.cameraName);
    camera.Number<int32_t>("CameraType", out.cameraType);
    camera.Text("EncoderName", out.encoderName);
    camera.Number<int32_t>("EncoderType", out.encoderType);
    camera.Text("EncoderIP", out.encoderIp);
    camera.Text("EncoderDNS", out.encoderDns);
    camera.Choice("EncoderMAINCONN", "DNS", "IP", out.encoderByDns);
    camera.Number<uint32_t>("EncoderPort", out.encoderPort);
    camera.Text("EncoderUsername", out.encoderUsername);
    camera.Text("EncoderPassword", out.encoderPassword);
    camera.Number<uint16_t>("EncoderChannel", out.encoderChannel);
    camera.Text("ForwardSvrIP", out.forwardServerIp);
    camera.Number<uint32_t>("ForwardSvrPort", out.forwardServerPort);
    camera.Text("CameraDesc", out.cameraDesc);
    camera.Number<uint16_t>("PreRecord", out.preRecord);
}

bool ReadCameraRequest(const TiXmlDocument& document, const char* step, CameraRequest& camera,
                       Problems* problems) {
    ReadState state(problems);
    ReadCamera(ElementReader::Action(document, state).Child(step).Child("Camera"), camera);
    return state.whole;
}

// The schedule of a single-task request (AddTask, ModifyTask).
void ReadSchedule(const ElementReader& task, TaskRequest& out) {
    task.Text("StartYearMonth", out.startYearMonth);
    task.Number<uint16_t>("StartDay", out.startDay);
    task.Number<uint16_t>("DayofWeek", out.dayOfWeek);
    task.Text("StartTime", out.startTime);
    task.Text("EndYearMonth", out.endYearMonth);
    task.Number<uint16_t>("EndDay", out.endDay);
    task.Text("EndTime", out.endTime);
}

// Action/Control/CameraGUID: Stop_Alarm, StopTask.
bool ReadCameraGuid(const TiXmlDocument& document, CameraSelector& selector, Problems* problems) {
    ReadState state(problems);
    ElementReader::Action(document, state).Child("Control").Text("CameraGUID", selector.cameraGuid);
    return state.whole;
}

}  // namespace

bool ReadAddDeviceRequest(const TiXmlDocument& document, CameraRequest& camera,
                          Problems* problems) {
    return ReadCameraRequest(document, "Control", camera, problems);
}

bool ReadMdyDeviceRequest(const TiXmlDocument& document, CameraRequest& camera,
                          Problems* problems) {
    return ReadCameraRequest(document, "Modify", camera, problems);
}

bool ReadDelDeviceRequest(const TiXmlDocument& document, CameraRequest& camera,
                          Problems* problems) {
    ReadState state(problems);
    ElementReader::Action(document, state)
        .Child("Modify")
        .Child("Camera")
        .Text("GUID", camera.guid);
    return state.whole;
}

bool ReadPolicyStartRequest(const TiXmlDocument& document, AddPolicyRequest& policy,
                            Problems* problems) {
    ReadState state(problems);
    const ElementReader element =
        ElementReader::Action(document, state).Child("Control").Child("RecordPolicy");
    element.Text("CameraGUID", policy.cameraGuid);
    element.Number<int16_t>("RecordType", policy.recordType);
    element.Number<int16_t>("CronType", policy.cronType);
    element.Number<uint16_t>("Tasksnum", policy.taskCount);
    // The tasks are the Task elements present, however many Tasksnum
    // announces; a difference is reported.
    policy.tasks.clear();
    const ElementReader tasks =
        policy.taskCount > 0 ? element.Child("Tasks") : element.Optional("Tasks");
    for (ElementReader task = tasks.Optional("Task"); task.Present(); task = task.NextSibling()) {
        PolicyTaskEntry entry;
        task.Text("StartYearMonth", entry.startYearMonth);
        task.Number<uint32_t>("StartDay", entry.startDay);
        task.Number<uint16_t>("DayofWeek", entry.dayOfWeek);
        task.Text("StartTime", entry.startTime);
        task.Text("EndYearMonth", entry.endYearMonth);
        task.Number<uint16_t>("EndDay", entry.endDay);
        task.Text("EndTime", entry.endTime);
        policy.tasks.push_back(entry);
    }
    if (element.Present() && tasks.Present() && policy.tasks.size() != policy.taskCount) {
        state.Note("Action-Control-RecordPolicy-Tasksnum " + std::to_string(policy.taskCount) +
                   " but " + std::to_string(policy.tasks.size()) + " Task elements");
    }
    return state.whole;
}

bool ReadPolicyModifyRequest(const TiXmlDocument& document, PolicySelector& selector,
                             Problems* problems) {
    ReadState state(problems);
    const ElementReader modify = ElementReader::Action(document, state).Child("Modify");
    modify.Number<uint32_t>("ID", selector.policyId);
    modify.Child("Policy").Number<uint16_t>("PolicyStatus", selector.policyStatus);
    return state.whole;
}

bool ReadPolicyDelRequest(const TiXmlDocument& document, PolicySelector& selector,
                          Problems* problems) {
    ReadState state(problems);
    ElementReader::Action(document, state)
        .Child("Modify")
        .Number<uint32_t>("ID", selector.policyId);
    return state.whole;
}

bool ReadAddTaskRequest(const TiXmlDocument& document, TaskRequest& task, Problems* problems) {
    ReadState state(problems);
    const ElementReader modify = ElementReader::Action(document, state).Child("Modify");
    modify.Number<uint32_t>("PolicyID", task.policyId);
    const ElementReader element = modify.Child("Task");
    ReadSchedule(element, task);
    element.Number<uint16_t>("Status", task.status);
    return state.whole;
}

bool ReadModifyTaskRequest(const TiXmlDocument& document, TaskRequest& task, Problems* problems) {
    ReadState state(problems);
    const ElementReader modify = ElementReader::Action(document, state).Child("Modify");
    modify.Number<uint32_t>("ID", task.taskId);
    ReadSchedule(modify.Child("Task"), task);
    return state.whole;
}

bool ReadDelTaskRequest(const TiXmlDocument& document, TaskRequest& task, Problems* problems) {
    ReadState state(problems);
    ElementReader::Action(document, state).Child("Modify").Number<uint32_t>("ID", task.taskId);
    return state.whole;
}

bool ReadPolicyDelAllRequest(const TiXmlDocument& document, PolicySelector& selector,
                             Problems* problems) {
    ReadState state(problems);
    ElementReader::Action(document, state).Child("Modify").Text("CameraGUID", selector.cameraGuid);
    return state.whole;
}

bool ReadPolicyQueryRequest(const TiXmlDocument& document, PolicyQuery& query, Problems* problems) {
    ReadState state(problems);
    const ElementReader condition =
        ElementReader::Action(document, state).Child("Query").Child("Condition");
    condition.Number<uint16_t>("Itemnum", query.itemCount);
    const ElementReader items = condition.Optional("Items");
    query.cameraGuid.clear();
    query.recordType = -1;
    if (items.HasChild("CameraGUID")) items.Text("CameraGUID", query.cameraGuid);
    if (items.HasChild("RecordType")) items.Number<int16_t>("RecordType", query.recordType);
    return state.whole;
}

bool ReadTaskQueryRequest(const TiXmlDocument& document, TaskQuery& query, Problems* problems) {
    ReadState state(problems);
    const ElementReader condition =
        ElementReader::Action(document, state).Child("Query").Child("Condition");
    // The client counts one criterion for each of the three it sends.
    query.itemCount = 0;
    query.cameraGuid.clear();
    query.recordType = -1;
    query.cronType = -1;
    if (condition.HasChild("CameraGUID")) {
        condition.Text("CameraGUID", query.cameraGuid);
        ++query.itemCount;
    }
    if (condition.HasChild("RecordType")) {
        condition.Number<int16_t>("RecordType", query.recordType);
        ++query.itemCount;
    }
    if (condition.HasChild("CronType")) {
        condition.Number<int16_t>("CronType", query.cronType);
        ++query.itemCount;
    }
    return state.whole;
}

bool ReadAlarmRequest(const TiXmlDocument& document, AlarmRequest& alarm, Problems* problems) {
    ReadState state(problems);
    const ElementReader control = ElementReader::Action(document, state).Child("Control");
    ReadCamera(control.Child("Camera"), alarm.camera);
    const ElementReader element = control.Child("Alarm");
    element.Text("AlarmType", alarm.alarmType);
    element.Text("AlarmDatetime", alarm.alarmDatetime);
    element.Number<uint16_t>("MaxRecordTime", alarm.maxRecordTime);
    return state.whole;
}

bool ReadStopAlarmRequest(const TiXmlDocument& document, CameraSelector& selector,
                          Problems* problems) {
    return ReadCameraGuid(document, selector, problems);
}

bool ReadPolicyStartType3Request(const TiXmlDocument& document, AddPolicyRequest& policy,
                                 Problems* problems) {
    ReadState state(problems);
    const ElementReader control = ElementReader::Action(document, state).Child("Control");
    control.Text("CameraGUID", policy.cameraGuid);
    control.Number<uint16_t>("MaxRecordTime", policy.maxRecordTime);
    // The manual-recording form is the start of a policy of record type 3.
    policy.recordType = 3;
    return state.whole;
}

bool ReadStopTaskRequest(const TiXmlDocument& document, CameraSelector& selector,
                         Problems* problems) {
    return ReadCameraGuid(document, selector, problems);
}

}  // namespace kerrow
