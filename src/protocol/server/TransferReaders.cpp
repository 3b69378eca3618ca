// Readers of the file catalogue requests and of the control messages of
// playback, download and upload.
#include <tinyxml.h>

#include "protocol/Methods.h"
#include "protocol/server/ElementReader.h"
#include "protocol/server/RequestReaders.h"

namespace kerrow {
namespace {

// The Method at root level; the readers take it into the records that carry
// it. A missing or malformed one leaves the field as it was.
template <class Field>
void ReadMethodInto(const TiXmlDocument& document, Field& field) {
    const TiXmlElement* method = document.FirstChildElement("Method");
    int64_t value = 0;
    if (method != nullptr && ParseInteger(method->GetText(), 0, 65535, value)) {
        field = static_cast<Field>(value);
    }
}

// Modify/FileID and Modify/RecordType; returns Modify.
ElementReader ReadFileModify(const TiXmlDocument& document, ReadState& state, FileRecord& file) {
    ReadMethodInto(document, file.method);
    const ElementReader modify = ElementReader::Action(document, state).Child("Modify");
    modify.Number<uint32_t>("FileID", file.fileId);
    modify.Number<int16_t>("RecordType", file.recordType);
    return modify;
}

// The start of a playback or a download; FilesNum is sent by playback only.
bool ReadMediaRequest(const TiXmlDocument& document, bool withFilesNum, MediaRequest& request,
                      Problems* problems) {
    ReadState state(problems);
    ReadMethodInto(document, request.Method);
    const ElementReader control = ElementReader::Action(document, state).Child("Control");
    if (withFilesNum) control.Number<uint16_t>("FilesNum", request.FilesNum);
    control.Number<uint16_t>("PlayType", request.PlayType);
    control.Number<uint32_t>("FileID", request.FileID);
    control.Text("CameraGUID", request.CameraGUID);
    control.Number<int16_t>("RecordType", request.RecordType);
    control.Text("StartTime", request.StartTime);
    control.Text("EndTime", request.EndTime);
    return state.whole;
}

}  // namespace

bool ReadFileListRequest(const TiXmlDocument& document, FileQuery& query, Problems* problems) {
    ReadState state(problems);
    const ElementReader condition =
        ElementReader::Action(document, state).Child("Query").Child("Condition");
    condition.Text("CameraGUID", query.cameraGuid);
    condition.Number<int16_t>("RecordType", query.recordType);
    // AlarmType repeats the record type; it is checked, not kept.
    int16_t alarmType = 0;
    condition.Number<int16_t>("AlarmType", alarmType);
    condition.Text("StartTime", query.startTime);
    condition.Text("EndTime", query.endTime);
    return state.whole;
}

bool ReadFileModifyRequest(const TiXmlDocument& document, FileRecord& file, Problems* problems) {
    ReadState state(problems);
    ReadFileModify(document, state, file);
    return state.whole;
}

bool ReadFilePermissionRequest(const TiXmlDocument& document, FileRecord& file,
                               Problems* problems) {
    ReadState state(problems);
    ReadFileModify(document, state, file).Number<int16_t>("FilePermision", file.filePermission);
    return state.whole;
}

bool ReadPlayRequest(const TiXmlDocument& document, MediaRequest& request, Problems* problems) {
    return ReadMediaRequest(document, true, request, problems);
}

bool ReadDownloadRequest(const TiXmlDocument& document, MediaRequest& request, Problems* problems) {
    return ReadMediaRequest(document, false, request, problems);
}

bool ReadPlayControlRequest(const TiXmlDocument& document, PlayControl& control,
                            Problems* problems) {
    ReadState state(problems);
    ReadMethodInto(document, control.Method);
    const ElementReader action = ElementReader::Action(document, state);
    action.Number<uint32_t>("ClientId", control.ClientId);
    if (control.Method != kMethodStopPlay) {
        const ElementReader element = action.Child("Control");
        element.Number<uint16_t>("PlayAction", control.PlayAction);
        element.Float("PlaySpeed", control.PlaySpeed);
        element.Number<uint16_t>("Position", control.Position);
    }
    return state.whole;
}

bool ReadUploadRequest(const TiXmlDocument& document, UploadRequest& request, Problems* problems) {
    ReadState state(problems);
    ReadMethodInto(document, request.Method);
    const ElementReader info =
        ElementReader::Action(document, state).Child("Control").Child("FileInfo");
    info.Number<int16_t>("MediaType", request.MediaType);
    info.Number<int32_t>("EncoderType", request.EncoderType);
    info.Number<int32_t>("FileSize", request.FileSize);
    info.Text("StartTime", request.StartTime);
    info.Text("EndTime", request.EndTime);
    info.Text("OprID", request.OprID);
    info.Text("FileDesc", request.FileDesc);
    info.Text("Uploader", request.Uploader);
    info.Text("Label", request.Label);
    info.Text("ControlCenter", request.ControlCenter);
    return state.whole;
}

bool ReadClientIdMessage(const TiXmlDocument& document, ClientIdMessage& message,
                         Problems* problems) {
    ReadState state(problems);
    ReadMethodInto(document, message.method);
    ElementReader::Action(document, state).Number<uint32_t>("ClientId", message.clientId);
    return state.whole;
}

bool ReadControlResponseMessage(const TiXmlDocument& document, ControlResponseMessage& message,
                                Problems* problems) {
    ReadState state(problems);
    ReadMethodInto(document, message.method);
    const ElementReader action = ElementReader::Action(document, state);
    action.Number<uint32_t>("ClientId", message.clientId);
    action.Child("ControlResponse").Number<int32_t>("Code", message.code);
    return state.whole;
}

}  // namespace kerrow
