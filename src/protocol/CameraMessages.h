// The camera requests: register (AddDevice), update (MdyDevice) and remove
// (DelDevice) the connection's camera. Each is answered by a result reply.
#pragma once

#include <cstdint>
#include <string>

#include "protocol/Records.h"

class TiXmlNode;

namespace kerrow {

class ValueText;

void BuildAddDeviceRequest(const CameraRequest& camera, std::string& out);
void BuildMdyDeviceRequest(const CameraRequest& camera, std::string& out);
// Carries the guid only.
void BuildDelDeviceRequest(const CameraRequest& camera, std::string& out);

// Appends the Camera element with its seventeen children to parent. The
// camera messages and the alarm differ in the name and the pre-record they
// send, so the caller gives both.
void AddCameraElement(TiXmlNode* parent, const CameraRequest& camera, const std::string& name,
                      uint16_t preRecord, ValueText& value);

}  // namespace kerrow
