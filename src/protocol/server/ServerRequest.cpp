#include "protocol/server/ServerRequest.h"

#include <tinyxml.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <utility>

#include "protocol/Elements.h"
#include "protocol/Methods.h"
#include "protocol/Nesting.h"
#include "protocol/server/ElementReader.h"

namespace kerrow {
namespace {

// Requests nest seven elements deep at most; a message nesting deeper than
// this is refused before it is parsed (protocol/Nesting.h).
constexpr int kMaxNesting = 32;
// Control requests are a few hundred bytes; a message above this is refused
// before it is parsed.
constexpr size_t kMaxControlMessage = 64 * 1024;
constexpr char kDeclaration[] = "<?xml version=\"1.0\" encoding=\"UTF-8\" ?>";
constexpr size_t kDeclarationSize = sizeof kDeclaration - 1;

// Every leaf from element down, with its path.
void CollectFields(const TiXmlElement* element, const std::string& path, int depth,
                   ServerRequest& out) {
    if (depth > kMaxNesting) return;
    const TiXmlElement* child = element->FirstChildElement();
    if (child == nullptr) {
        const char* text = element->GetText();
        out.fields.emplace_back(path, text != nullptr ? text : "");
        return;
    }
    for (; child != nullptr; child = child->NextSiblingElement()) {
        const std::string name = child->Value();
        CollectFields(child, path + "/" + name, depth + 1, out);
    }
}

// Reads the record of one request into out; false when it was not whole.
template <class Record, bool (*Reader)(const TiXmlDocument&, Record&, Problems*)>
bool ReadInto(const TiXmlDocument& document, ServerRequest& out) {
    Record record;
    const bool whole = Reader(document, record, &out.problems);
    out.record = std::move(record);
    return whole;
}

struct RequestEntry {
    int32_t method;
    RequestKind kind;
    bool (*read)(const TiXmlDocument&, ServerRequest&);
};

// Every request by its Method. 519 has two entries: the upload start and the
// client's upload-finished notice, told apart by the body.
const RequestEntry kRequests[] = {
    {kMethodAddDevice, RequestKind::AddDevice, ReadInto<CameraRequest, ReadAddDeviceRequest>},
    {kMethodMdyDevice, RequestKind::MdyDevice, ReadInto<CameraRequest, ReadMdyDeviceRequest>},
    {kMethodDelDevice, RequestKind::DelDevice, ReadInto<CameraRequest, ReadDelDeviceRequest>},
    {kMethodPolicyStart, RequestKind::PolicyStart,
     ReadInto<AddPolicyRequest, ReadPolicyStartRequest>},
    {kMethodPolicyModify, RequestKind::PolicyModify,
     ReadInto<PolicySelector, ReadPolicyModifyRequest>},
    {kMethodPolicyDel, RequestKind::PolicyDel, ReadInto<PolicySelector, ReadPolicyDelRequest>},
    {kMethodAddTask, RequestKind::AddTask, ReadInto<TaskRequest, ReadAddTaskRequest>},
    {kMethodModifyTask, RequestKind::ModifyTask, ReadInto<TaskRequest, ReadModifyTaskRequest>},
    {kMethodDelTask, RequestKind::DelTask, ReadInto<TaskRequest, ReadDelTaskRequest>},
    {kMethodAlarm, RequestKind::Alarm, ReadInto<AlarmRequest, ReadAlarmRequest>},
    {kMethodStopAlarm, RequestKind::StopAlarm, ReadInto<CameraSelector, ReadStopAlarmRequest>},
    {kMethodPolicyStartType3, RequestKind::PolicyStartType3,
     ReadInto<AddPolicyRequest, ReadPolicyStartType3Request>},
    {kMethodStopTask, RequestKind::StopTask, ReadInto<CameraSelector, ReadStopTaskRequest>},
    {kMethodPolicyDelAll, RequestKind::PolicyDelAll,
     ReadInto<PolicySelector, ReadPolicyDelAllRequest>},
    {kMethodPolicyQuery, RequestKind::PolicyQuery, ReadInto<PolicyQuery, ReadPolicyQueryRequest>},
    {kMethodTaskQuery, RequestKind::TaskQuery, ReadInto<TaskQuery, ReadTaskQueryRequest>},
    {kMethodPlay, RequestKind::Play, ReadInto<MediaRequest, ReadPlayRequest>},
    {kMethodStopPlay, RequestKind::StopPlay, ReadInto<PlayControl, ReadPlayControlRequest>},
    {kMethodPlayControl, RequestKind::PlayControl, ReadInto<PlayControl, ReadPlayControlRequest>},
    {kMethodDownload, RequestKind::Download, ReadInto<MediaRequest, ReadDownloadRequest>},
    {kMethodStopDownload, RequestKind::StopDownload,
     ReadInto<ClientIdMessage, ReadClientIdMessage>},
    {kMethodFilePermission, RequestKind::FilePermission,
     ReadInto<FileRecord, ReadFilePermissionRequest>},
    {kMethodBackup, RequestKind::Backup, ReadInto<FileRecord, ReadFileModifyRequest>},
    {kMethodDeleteFile, RequestKind::DeleteFile, ReadInto<FileRecord, ReadFileModifyRequest>},
    {kMethodStopBackup, RequestKind::StopBackup, ReadInto<ClientIdMessage, ReadClientIdMessage>},
    {kMethodUpload, RequestKind::Upload, ReadInto<UploadRequest, ReadUploadRequest>},
    {kMethodUpload, RequestKind::UploadFinished,
     ReadInto<ControlResponseMessage, ReadControlResponseMessage>},
    {kMethodStopUpload, RequestKind::StopUpload, ReadInto<ClientIdMessage, ReadClientIdMessage>},
    {kMethodFileList, RequestKind::FileList, ReadInto<FileQuery, ReadFileListRequest>},
};

const RequestEntry* FindRequest(const TiXmlDocument& document, int32_t method) {
    const TiXmlElement* action = document.FirstChildElement("Action");
    const bool response =
        action != nullptr && action->FirstChildElement("ControlResponse") != nullptr;
    for (const RequestEntry& entry : kRequests) {
        if (entry.method != method) continue;
        if (method == kMethodUpload && response != (entry.kind == RequestKind::UploadFinished)) {
            continue;
        }
        return &entry;
    }
    return nullptr;
}

DecodeStatus Refuse(ServerRequest& out, DecodeStatus status, const std::string& problem) {
    out.problems.push_back(problem);
    return status;
}

}  // namespace

DecodeStatus DecodeRequest(const char* message, size_t size, ServerRequest& out) {
    out = ServerRequest();
    if (message == nullptr || size < kHeadReadSize + 1) {
        return Refuse(out, DecodeStatus::BadLength,
                      "message of " + std::to_string(size) + " bytes is shorter than a head");
    }
    const long total = ReadTotalLength(message, size);
    if (total < 0 || static_cast<size_t>(total) != size) {
        return Refuse(out, DecodeStatus::BadLength,
                      "length digits say " + std::to_string(total) + ", message has " +
                          std::to_string(size) + " bytes");
    }
    out.contentType = ReadContentType(message, size);
    if (out.contentType == kContentTypeUploadData) {
        if (size < kDataHeadSize) {
            return Refuse(out, DecodeStatus::BadLength,
                          "data message of " + std::to_string(size) + " bytes has no whole head");
        }
        out.kind = RequestKind::UploadData;
        out.data = message + kDataHeadSize;
        out.dataSize = size - kDataHeadSize;
        return DecodeStatus::Ok;
    }
    if (out.contentType != kContentTypeControl) {
        return Refuse(out, DecodeStatus::BadContentType,
                      "content type " + std::to_string(out.contentType));
    }
    if (size > kMaxControlMessage) {
        return Refuse(out, DecodeStatus::BadLength,
                      "control message of " + std::to_string(size) + " bytes");
    }
    // Only what a client prints: the declaration, then text and plain tags.
    // With no comments, sections, instructions or attributes, every '<'
    // starts a tag and the nesting is known exactly.
    if (size < kDeclarationSize || std::memcmp(message, kDeclaration, kDeclarationSize) != 0) {
        return Refuse(out, DecodeStatus::NotXml, "markup other than plain elements");
    }
    const Nesting nesting = ScanNesting(message + kDeclarationSize, size - kDeclarationSize);
    if (!nesting.plain) {
        return Refuse(out, DecodeStatus::NotXml, "markup other than plain elements");
    }
    if (nesting.deepest > kMaxNesting) {
        return Refuse(out, DecodeStatus::NotXml, "elements nested too deep");
    }
    TiXmlDocument document;
    if (!ParseDocument(message, size, document)) {
        return Refuse(out, DecodeStatus::NotXml, std::string("not XML: ") + document.ErrorDesc());
    }
    const TiXmlElement* method = document.FirstChildElement("Method");
    int64_t number = 0;
    if (method == nullptr) return Refuse(out, DecodeStatus::NoMethod, "Method element not found");
    if (!ParseInteger(method->GetText(), 0, INT32_MAX, number)) {
        return Refuse(out, DecodeStatus::NoMethod, "Method malformed");
    }
    out.method = static_cast<int32_t>(number);

    if (const TiXmlElement* action = document.FirstChildElement("Action")) {
        for (const TiXmlElement* child = action->FirstChildElement(); child != nullptr;
             child = child->NextSiblingElement()) {
            CollectFields(child, child->Value(), 1, out);
        }
        const TiXmlElement* clientId = action->FirstChildElement("ClientId");
        if (clientId != nullptr && ParseInteger(clientId->GetText(), 0, UINT32_MAX, number)) {
            out.hasClientId = true;
            out.clientId = static_cast<uint32_t>(number);
        }
    }
    const RequestEntry* entry = FindRequest(document, out.method);
    if (entry == nullptr) {
        return Refuse(out, DecodeStatus::UnknownMethod,
                      "Method " + std::to_string(out.method) + " is no request");
    }
    out.kind = entry->kind;
    return entry->read(document, out) ? DecodeStatus::Ok : DecodeStatus::Incomplete;
}

const char* RequestKindName(RequestKind kind) {
    static const char* const kNames[] = {
        "Unknown",          "AddDevice",    "MdyDevice",      "DelDevice",
        "PolicyStart",      "PolicyModify", "PolicyDel",      "AddTask",
        "ModifyTask",       "DelTask",      "Alarm",          "StopAlarm",
        "PolicyStartType3", "StopTask",     "PolicyDelAll",   "PolicyQuery",
        "TaskQuery",        "Play",         "StopPlay",       "PlayControl",
        "Download",         "StopDownload", "FilePermission", "Backup",
        "DeleteFile",       "StopBackup",   "Upload",         "UploadFinished",
        "StopUpload",       "FileList",     "UploadData"};
    static_assert(
        sizeof kNames / sizeof kNames[0] == static_cast<size_t>(RequestKind::UploadData) + 1,
        "one name per kind");
    const size_t index = static_cast<size_t>(kind);
    return index < sizeof kNames / sizeof kNames[0] ? kNames[index] : "Unknown";
}

const char* DecodeStatusName(DecodeStatus status) {
    switch (status) {
        case DecodeStatus::Ok:
            return "Ok";
        case DecodeStatus::Incomplete:
            return "Incomplete";
        case DecodeStatus::BadLength:
            return "BadLength";
        case DecodeStatus::BadContentType:
            return "BadContentType";
        case DecodeStatus::NotXml:
            return "NotXml";
        case DecodeStatus::NoMethod:
            return "NoMethod";
        case DecodeStatus::UnknownMethod:
            return "UnknownMethod";
    }
    return "Unknown";
}

}  // namespace kerrow
