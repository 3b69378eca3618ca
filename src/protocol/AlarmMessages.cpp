#include "protocol/AlarmMessages.h"

#include "protocol/CameraMessages.h"
#include "protocol/MessageTree.h"
#include "protocol/Methods.h"

namespace kerrow {
namespace {

// Control/CameraGUID: Stop_Alarm and the manual-recording stop.
void BuildCameraGuidRequest(int method, const std::string& cameraGuid, std::string& out) {
    ControlMessage message(method);
    AddText(AddElement(message.Action(), "Control"), "CameraGUID", cameraGuid);
    message.Print(out);
}

}  // namespace

void BuildAlarmRequest(const AlarmRequest& alarm, std::string& out) {
    ControlMessage message(kMethodAlarm);
    ValueText value;
    TiXmlElement* control = AddElement(message.Action(), "Control");
    // The alarm names the camera, and leaves pre-recording to the server: the
    // alarm's own record time governs.
    AddCameraElement(control, alarm.camera, alarm.camera.cameraName, 0, value);
    TiXmlElement* element = AddElement(control, "Alarm");
    AddText(element, "AlarmType", alarm.alarmType);
    AddText(element, "AlarmDatetime", alarm.alarmDatetime);
    AddText(element, "MaxRecordTime", value.Unsigned(alarm.maxRecordTime));
    message.Print(out);
}

void BuildStopAlarmRequest(const CameraSelector& selector, std::string& out) {
    BuildCameraGuidRequest(kMethodStopAlarm, selector.cameraGuid, out);
}

void BuildPolicyStartType3Request(const AddPolicyRequest& policy, std::string& out) {
    ControlMessage message(kMethodPolicyStartType3);
    ValueText value;
    TiXmlElement* control = AddElement(message.Action(), "Control");
    AddText(control, "CameraGUID", policy.cameraGuid);
    AddText(control, "MaxRecordTime", value.Unsigned(policy.maxRecordTime));
    message.Print(out);
}

void BuildStopTaskRequest(const CameraSelector& selector, std::string& out) {
    BuildCameraGuidRequest(kMethodStopTask, selector.cameraGuid, out);
}

}  // namespace kerrow
