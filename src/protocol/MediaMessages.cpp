#include "protocol/MediaMessages.h"

#include "protocol/MessageTree.h"
#include "protocol/Methods.h"

namespace kerrow {
namespace {

// The start of a playback or a download; FilesNum is sent by playback only.
void BuildMediaRequest(int method, bool withFilesNum, const MediaRequest& request,
                       std::string& out) {
    ControlMessage message(method);
    ValueText value;
    TiXmlElement* control = AddElement(message.Action(), "Control");
    if (withFilesNum) AddText(control, "FilesNum", value.Unsigned(request.FilesNum));
    AddText(control, "PlayType", value.Unsigned(request.PlayType));
    AddText(control, "FileID", value.Unsigned(request.FileID));
    AddText(control, "CameraGUID", request.CameraGUID);
    AddText(control, "RecordType", value.Signed(static_cast<int16_t>(request.RecordType)));
    AddText(control, "StartTime", request.StartTime);
    AddText(control, "EndTime", request.EndTime);
    message.Print(out);
}

}  // namespace

void BuildPlayRequest(const MediaRequest& request, std::string& out) {
    BuildMediaRequest(kMethodPlay, true, request, out);
}

void BuildDownloadRequest(const MediaRequest& request, std::string& out) {
    BuildMediaRequest(kMethodDownload, false, request, out);
}

void BuildPlayControlRequest(const PlayControl& control, std::string& out) {
    ControlMessage message(control.Method);
    ValueText value;
    // The number stream holds the Method until the ClientId is written, which
    // happens for the two Methods this message is sent with.
    value.Unsigned(control.Method);
    if (control.Method == kMethodPlayControl || control.Method == kMethodStopPlay) {
        value.Unsigned(control.ClientId);
    }
    AddText(message.Action(), "ClientId", value.Last());
    if (control.Method != kMethodStopPlay) {
        TiXmlElement* element = AddElement(message.Action(), "Control");
        AddText(element, "PlayAction", value.Unsigned(control.PlayAction));
        AddText(element, "PlaySpeed", value.Float(control.PlaySpeed));
        AddText(element, "Position", value.Unsigned(control.Position));
    }
    message.Print(out);
}

void BuildUploadRequest(const UploadRequest& request, std::string& out) {
    ControlMessage message(kMethodUpload);
    ValueText value;
    TiXmlElement* info = AddElement(AddElement(message.Action(), "Control"), "FileInfo");
    AddText(info, "MediaType", value.Signed(static_cast<int16_t>(request.MediaType)));
    AddText(info, "EncoderType", value.Signed(static_cast<int32_t>(request.EncoderType)));
    AddText(info, "FileSize", value.Signed(request.FileSize));
    AddText(info, "StartTime", request.StartTime);
    AddText(info, "EndTime", request.EndTime);
    AddText(info, "OprID", request.OprID);
    AddText(info, "FileDesc", request.FileDesc);
    AddText(info, "Uploader", request.Uploader);
    AddText(info, "Label", request.Label);
    AddText(info, "ControlCenter", request.ControlCenter);
    message.Print(out);
}

void BuildClientIdMessage(int32_t method, uint32_t clientId, std::string& out) {
    ControlMessage message(method);
    ValueText value;
    AddText(message.Action(), "ClientId", value.Unsigned(clientId));
    message.Print(out);
}

void BuildControlResponseMessage(int32_t method, uint32_t clientId, int32_t code,
                                 std::string& out) {
    ControlMessage message(method);
    ValueText value;
    AddText(message.Action(), "ClientId", value.Unsigned(clientId));
    AddText(AddElement(message.Action(), "ControlResponse"), "Code", value.Signed(code));
    message.Print(out);
}

}  // namespace kerrow
