#include "protocol/server/ServerRequest.h"

#include <tinyxml.h>

#include <cctype>
#include <cstdint>
#include <cstring>
#include <string>
#include <utility>

#include "protocol/Elements.h"
#include "protocol/Methods.h"
#include "protocol/server/ElementReader.h"

namespace kerrow {
namespace {

// Requests nest seven elements deep at most. TinyXML parses, prints and
// frees a document recursively, one call per level, so a message nesting
// thousands of elements would exhaust the stack; such a message is refused
// before it is parsed.
constexpr int kMaxNesting = 32;
// Control requests are a few hundred bytes; a message above this is refused
// before it is parsed.
constexpr size_t kMaxControlMessage = 64 * 1024;
constexpr char kDeclaration[] = "<?xml version=\"1.0\" encoding=\"UTF-8\" ?>";
constexpr size_t kDeclarationSize = sizeof kDeclaration - 1;

bool NameStart(char c) { return std::isalpha(static_cast<unsigned char>(c)) || c == '_'; }
bool NameChar(char c) {
    return std::isalnum(static_cast<unsigned char>(c)) || c == '_' || c == '-' || c == '.';
}

// No byte of 0x80 or above among the three before text[at].
bool AsciiBefore(const char* text, size_t at) {
    for (size_t back = 1; back <= 3 && back <= at; ++back) {
        if (static_cast<unsigned char>(text[at - back]) >= 0x80) return false;
    }
    return true;
}

// Checks that the text after the declaration holds nothing but what a
// client prints: text without '<', and tags <Name>, </Name> and <Name />.
// With no comments, sections, instructions or attributes, every '<' starts a
// tag and counting them bounds the nesting. One exception: TinyXML reads a
// byte of 0x80 or above together with up to three bytes behind it, so the
// '<' of a closing tag right behind such a byte may be text to it, and that
// element stays open; such a closing tag is not counted. Sets deepest; false
// at the first other markup.
bool PlainMarkup(const char* text, size_t size, int& deepest) {
    int depth = 0;
    deepest = 0;
    for (size_t i = kDeclarationSize; i < size; ++i) {
        if (text[i] != '<') continue;
        size_t at = i + 1;
        const bool closing = at < size && text[at] == '/';
        if (closing) ++at;
        if (at >= size || !NameStart(text[at])) return false;
        while (at < size && NameChar(text[at])) ++at;
        while (at < size && text[at] == ' ') ++at;
        const bool empty = !closing && at < size && text[at] == '/';
        if (empty) ++at;
        if (at >= size || text[at] != '>') return false;
        if (closing) {
            if (depth > 0 && AsciiBefore(text, i)) --depth;
        } else if (!empty && ++depth > deepest) {
            deepest = depth;
        }
        i = at;
    }
    return true;
}

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
    int deepest = 0;
    if (size < kDeclarationSize || std::memcmp(message, kDeclaration, kDeclarationSize) != 0 ||
        !PlainMarkup(message, size, deepest)) {
        return Refuse(out, DecodeStatus::NotXml, "markup other than plain elements");
    }
    if (deepest > kMaxNesting) {
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
