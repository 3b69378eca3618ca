// Registering, updating and removing the connection's camera on the server.
// The camera always comes from the connection's record.
#include "client/Client.h"
#include "client/ControlExchange.h"
#include "protocol/CameraMessages.h"
#include "util/FieldText.h"

namespace kerrow {
namespace {

const ControlTexts kAddDevice{"新增摄像头 发送xml命令：",  "新增摄像头 失败！",
                              "新增摄像头 成功",           "新增摄像头失败 err：",
                              "新增摄像头 失败，连接id：", 99};
const ControlTexts kMdyDevice{"修改摄像头 发送xml命令：",  "修改摄像头 失败！",
                              "修改摄像头 成功",           "修改摄像头失败 err：",
                              "修改摄像头 失败，连接id：", 99};
const ControlTexts kDelDevice{"删除摄像头 发送xml命令：", "删除摄像头 失败！",
                              "删除摄像头 成功",          "删除摄像头失败 err：",
                              "删除摄像头失败，连接id：", 99};

}  // namespace

CameraRequest Client::CameraFromRecord() const {
    CameraRequest camera;
    camera.guid = FieldText(record_.cameraId);
    camera.cameraId = camera.guid;
    camera.cameraName = FieldText(record_.cameraName);
    camera.cameraType = record_.cameraType;
    camera.encoderName = FieldText(record_.encoderName);
    camera.encoderType = record_.cameraType;  // the record has no encoder type of its own
    camera.encoderIp = FieldText(record_.encoderIp);
    camera.encoderDns = FieldText(record_.encoderDns);
    camera.encoderByDns = record_.encoderByDns;
    camera.encoderPort = record_.encoderPort;
    camera.encoderUsername = FieldText(record_.encoderUsername);
    camera.encoderPassword = FieldText(record_.encoderPassword);
    camera.encoderChannel = record_.encoderChannel;
    camera.forwardServerIp = FieldText(record_.forwardServerIp);
    camera.forwardServerPort = record_.forwardServerPort;
    camera.cameraDesc = FieldText(record_.cameraDesc);
    camera.preRecord = record_.preRecord;
    return camera;
}

int32_t Client::AddDevice() {
    std::string request;
    BuildAddDeviceRequest(CameraFromRecord(), request);
    return RunControl(request, kAddDevice);
}

int32_t Client::MdyDevice() {
    std::string request;
    BuildMdyDeviceRequest(CameraFromRecord(), request);
    return RunControl(request, kMdyDevice);
}

int32_t Client::DelDevice() {
    CameraRequest camera;
    camera.guid = FieldText(record_.cameraId);
    std::string request;
    BuildDelDeviceRequest(camera, request);
    return RunControl(request, kDelDevice);
}

}  // namespace kerrow
