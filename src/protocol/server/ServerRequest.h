// One framed message from a client, decoded for the server: what kind of
// request it is, the record the client's builder printed it from, the upload
// data it carries, every leaf of its Action for a request journal, and what
// was wrong with it. Decoding never logs and never trusts the length digits
// beyond the bytes actually given.
//
//   FrameReader reader(kServerRequestLimits);
//   ... reader.Feed(bytes, n); while (reader.Next() == FrameReader::Result::Message) {
//   ServerRequest request;
//   DecodeStatus status = DecodeRequest(reader.Message(), reader.Total(), request);
//   if (auto* camera = std::get_if<CameraRequest>(&request.record)) ... }
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "protocol/Envelope.h"
#include "protocol/Records.h"
#include "protocol/server/RequestReaders.h"

namespace kerrow {

// The largest message that the server takes from a client: a control request
// is a few hundred bytes and an upload data message at most 2158; the limit
// leaves room for long texts (a policy with many tasks) while a client cannot
// make the server buffer more than this for one message.
constexpr FrameLimits kServerRequestLimits{64, 1 << 20};

// What a message asks for. One kind per request of the Method table; the two
// messages of Method 519 (the upload start and the client's upload-finished
// notice) are told apart by their body.
enum class RequestKind {
    Unknown,           // not decoded: see DecodeStatus
    AddDevice,         // 100, CameraRequest
    MdyDevice,         // 101, CameraRequest
    DelDevice,         // 102, CameraRequest (guid only)
    PolicyStart,       // 103, AddPolicyRequest
    PolicyModify,      // 104, PolicySelector
    PolicyDel,         // 105, PolicySelector
    AddTask,           // 106, TaskRequest
    ModifyTask,        // 107, TaskRequest
    DelTask,           // 108, TaskRequest
    Alarm,             // 109, AlarmRequest
    StopAlarm,         // 110, CameraSelector
    PolicyStartType3,  // 111, AddPolicyRequest (cameraGuid, maxRecordTime)
    StopTask,          // 112, CameraSelector
    PolicyDelAll,      // 113, PolicySelector (cameraGuid)
    PolicyQuery,       // 200, PolicyQuery
    TaskQuery,         // 201, TaskQuery
    Play,              // 500, MediaRequest
    StopPlay,          // 501, PlayControl
    PlayControl,       // 507, PlayControl
    Download,          // 510, MediaRequest
    StopDownload,      // 511, ClientIdMessage
    FilePermission,    // 514, FileRecord
    Backup,            // 515, FileRecord
    DeleteFile,        // 516, FileRecord
    StopBackup,        // 518, ClientIdMessage
    Upload,            // 519 with Action/Control, UploadRequest
    UploadFinished,    // 519 with Action/ControlResponse, ControlResponseMessage
    StopUpload,        // 520, ClientIdMessage
    FileList,          // 600, FileQuery
    UploadData,        // content type 01: data and dataSize
};

// The kind's name as written in a journal ("AddDevice", "UploadData", ...).
const char* RequestKindName(RequestKind kind);

// The decoded request; std::monostate for an upload data message and for a
// message that could not be decoded.
using RequestRecord =
    std::variant<std::monostate, CameraRequest, AddPolicyRequest, PolicySelector, TaskRequest,
                 AlarmRequest, CameraSelector, PolicyQuery, TaskQuery, FileQuery, FileRecord,
                 MediaRequest, PlayControl, UploadRequest, ClientIdMessage, ControlResponseMessage>;

enum class DecodeStatus {
    Ok,              // kind and record are set, the request is whole
    Incomplete,      // kind and record are set as far as the message went;
                     // problems names the missing or malformed elements
    BadLength,       // fewer than 64 bytes, length digits that disagree
                     // with the size given, or a control message above
                     // 64 KiB
    BadContentType,  // content type other than 00 and 01
    NotXml,          // a control message that TinyXML cannot parse, that
                     // holds markup a client never prints (comments,
                     // sections, attributes, a declaration of its own) or
                     // that nests elements more than 32 deep
    NoMethod,        // no Method, or one that is not a number
    UnknownMethod,   // a Method of no request (method holds it)
};

// The status's name ("Ok", "NotXml", ...).
const char* DecodeStatusName(DecodeStatus status);

struct ServerRequest {
    int contentType = -1;  // the two digits at offset 93
    int32_t method = -1;   // Method; -1 when absent or not a number
    RequestKind kind = RequestKind::Unknown;
    bool hasClientId = false;  // Action/ClientId present and a number
    uint32_t clientId = 0;
    RequestRecord record;
    // Upload data (content type 01): the payload inside the message given to
    // DecodeRequest, valid as long as those bytes are.
    const char* data = nullptr;
    size_t dataSize = 0;
    // Every leaf element under Action in document order: its path below
    // Action joined by '/' ("Control/Camera/GUID") and its text ("" for an
    // element without text). Repeated elements appear once each.
    std::vector<std::pair<std::string, std::string>> fields;
    // Why the message is not Ok, one line per fault.
    Problems problems;
};

// Decodes one framed message of exactly size bytes (what FrameReader cut:
// Message() and Total()). out is reset first. The length digits must equal
// size; a control message must parse as XML and carry a known Method.
DecodeStatus DecodeRequest(const char* message, size_t size, ServerRequest& out);

}  // namespace kerrow
