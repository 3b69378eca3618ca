// Alarms on the connection's camera and the stop of manual recording.
#include "client/Client.h"
#include "client/ControlExchange.h"
#include "protocol/AlarmMessages.h"

namespace kerrow {
namespace {

const ControlTexts kAlarm{"发送报警信息 发送xml命令：", "发送报警信息 失败！",
                          "发送报警信息 成功",          "发送报警信息 err：",
                          "发送报警信息超时，连接id：", 109};
const ControlTexts kStopAlarm{"解除报警信息 发送xml命令：", "解除报警信息 失败！",
                              "解除报警信息 成功",          "解除报警信息 err：",
                              "解除报警信息超时，连接id：", 111};
const ControlTexts kStopTask{"停止手动录像任务 发送xml命令：", "停止手动录像任务 失败！",
                             "停止手动录像任务 成功",          "停止手动录像任务err：",
                             "停止手动录像任务超时，连接id：", 108};
const ControlTexts kStopTaskEx{
    "停止手动录像任务（扩展） 发送xml命令：", "停止手动录像任务（扩展） 失败！",
    "停止手动录像任务（扩展） 成功",          "停止手动录像任务（扩展）err：",
    "停止手动录像任务（扩展）超时，连接id：", 108};

}  // namespace

int32_t Client::SendAlarm(const AlarmRequest& alarm) {
    std::string request;
    BuildAlarmRequest(alarm, request);
    return RunControl(request, kAlarm);
}

int32_t Client::StopAlarm(const CameraSelector& selector) {
    std::string request;
    BuildStopAlarmRequest(selector, request);
    return RunControl(request, kStopAlarm);
}

int32_t Client::StopTask(const CameraSelector& selector) {
    std::string request;
    BuildStopTaskRequest(selector, request);
    return RunControl(request, kStopTask);
}

int32_t Client::StopTaskEx(const CameraSelector& selector) {
    std::string request;
    BuildStopTaskRequest(selector, request);
    return RunControl(request, kStopTaskEx);
}

}  // namespace kerrow
