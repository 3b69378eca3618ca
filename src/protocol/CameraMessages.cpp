#include "protocol/CameraMessages.h"

#include "protocol/MessageTree.h"
#include "protocol/Methods.h"

namespace kerrow {
namespace {

// AddDevice and MdyDevice: the camera under Control or Modify. The camera
// name travels empty in both, whatever the record holds.
void BuildCameraRequest(int method, const char* step, const CameraRequest& camera,
                        std::string& out) {
    ControlMessage message(method);
    ValueText value;
    AddCameraElement(AddElement(message.Action(), step), camera, std::string(), camera.preRecord,
                     value);
    message.Print(out);
}

}  // namespace

void AddCameraElement(TiXmlNode* parent, const CameraRequest& camera, const std::string& name,
                      uint16_t preRecord, ValueText& value) {
    TiXmlElement* element = AddElement(parent, "Camera");
    AddText(element, "GUID", camera.guid);
    AddText(element, "CameraID", camera.cameraId);
    AddText(element, "CameraName", name);
    AddText(element, "CameraType", value.Signed(camera.cameraType));
    AddText(element, "EncoderName", camera.encoderName);
    AddText(element, "EncoderType", value.Signed(camera.encoderType));
    AddText(element, "EncoderIP", camera.encoderIp);
    AddText(element, "EncoderDNS", camera.encoderDns);
    AddText(element, "EncoderMAINCONN", value.Word(camera.encoderByDns != 0 ? "DNS" : "IP"));
    AddText(element, "EncoderPort", value.Unsigned(camera.encoderPort));
    AddText(element, "EncoderUsername", camera.encoderUsername);
    AddText(element, "EncoderPassword", camera.encoderPassword);
    AddText(element, "EncoderChannel", value.Unsigned(camera.encoderChannel));
    AddText(element, "ForwardSvrIP", camera.forwardServerIp);
    AddText(element, "ForwardSvrPort", value.Unsigned(camera.forwardServerPort));
    AddText(element, "CameraDesc", camera.cameraDesc);
    AddText(element, "PreRecord", value.Unsigned(preRecord));
}

void BuildAddDeviceRequest(const CameraRequest& camera, std::string& out) {
    BuildCameraRequest(kMethodAddDevice, "Control", camera, out);
}

void BuildMdyDeviceRequest(const CameraRequest& camera, std::string& out) {
    BuildCameraRequest(kMethodMdyDevice, "Modify", camera, out);
}

void BuildDelDeviceRequest(const CameraRequest& camera, std::string& out) {
    ControlMessage message(kMethodDelDevice);
    TiXmlElement* element = AddElement(AddElement(message.Action(), "Modify"), "Camera");
    AddText(element, "GUID", camera.guid);
    message.Print(out);
}

}  // namespace kerrow
