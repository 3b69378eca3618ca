// Recording outside the schedules: raise and clear an alarm, start and stop a
// manual recording. Each request is answered by a result reply.
#pragma once

#include <string>

#include "protocol/Records.h"

namespace kerrow {

// RecordPolicy_Alarm (109): the camera, named, with PreRecord 0, then the
// alarm.
void BuildAlarmRequest(const AlarmRequest& alarm, std::string& out);
// Stop_Alarm (110).
void BuildStopAlarmRequest(const CameraSelector& selector, std::string& out);
// RecordPolicy_Start, manual-recording form (111): camera and record time only.
void BuildPolicyStartType3Request(const AddPolicyRequest& policy, std::string& out);
// RecordPolicy_StopTask and RecordPolicy_StopTaskEx (112): the camera only.
void BuildStopTaskRequest(const CameraSelector& selector, std::string& out);

}  // namespace kerrow
