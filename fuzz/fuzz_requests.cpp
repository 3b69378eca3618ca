// Fuzzes what the server does with the bytes a client sends: the frame reader
// cutting them into messages (fed in pieces of varying size) and the decoder
// reading each message, and the same bytes with their length stamped so that
// the decoder goes past the length check. A request that decodes whole must
// survive a round trip: built again by the client's builder and decoded, it
// gives the same kind and, built once more, the same bytes.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <variant>

#include "protocol/AlarmMessages.h"
#include "protocol/CameraMessages.h"
#include "protocol/Envelope.h"
#include "protocol/FileMessages.h"
#include "protocol/FrameReader.h"
#include "protocol/MediaMessages.h"
#include "protocol/PolicyMessages.h"
#include "protocol/server/ServerRequest.h"

namespace {

using kerrow::RequestKind;

void Require(bool condition) {
    if (!condition) std::abort();
}

// The client's builder of the request's kind applied to its record; false
// for the kinds without a record.
bool Rebuild(const kerrow::ServerRequest& request, std::string& out) {
    using namespace kerrow;
    const RequestRecord& r = request.record;
    switch (request.kind) {
        case RequestKind::AddDevice:
            BuildAddDeviceRequest(std::get<CameraRequest>(r), out);
            break;
        case RequestKind::MdyDevice:
            BuildMdyDeviceRequest(std::get<CameraRequest>(r), out);
            break;
        case RequestKind::DelDevice:
            BuildDelDeviceRequest(std::get<CameraRequest>(r), out);
            break;
        case RequestKind::PolicyStart:
            BuildPolicyStartRequest(std::get<AddPolicyRequest>(r), out);
            break;
        case RequestKind::PolicyModify:
            BuildPolicyModifyRequest(std::get<PolicySelector>(r), out);
            break;
        case RequestKind::PolicyDel:
            BuildPolicyDelRequest(std::get<PolicySelector>(r), out);
            break;
        case RequestKind::AddTask:
            BuildAddTaskRequest(std::get<TaskRequest>(r), out);
            break;
        case RequestKind::ModifyTask:
            BuildModifyTaskRequest(std::get<TaskRequest>(r), out);
            break;
        case RequestKind::DelTask:
            BuildDelTaskRequest(std::get<TaskRequest>(r), out);
            break;
        case RequestKind::Alarm:
            BuildAlarmRequest(std::get<AlarmRequest>(r), out);
            break;
        case RequestKind::StopAlarm:
            BuildStopAlarmRequest(std::get<CameraSelector>(r), out);
            break;
        case RequestKind::PolicyStartType3:
            BuildPolicyStartType3Request(std::get<AddPolicyRequest>(r), out);
            break;
        case RequestKind::StopTask:
            BuildStopTaskRequest(std::get<CameraSelector>(r), out);
            break;
        case RequestKind::PolicyDelAll:
            BuildPolicyDelAllRequest(std::get<PolicySelector>(r), out);
            break;
        case RequestKind::PolicyQuery:
            BuildPolicyQueryRequest(std::get<PolicyQuery>(r), out);
            break;
        case RequestKind::TaskQuery:
            BuildTaskQueryRequest(std::get<TaskQuery>(r), out);
            break;
        case RequestKind::Play:
            BuildPlayRequest(std::get<MediaRequest>(r), out);
            break;
        case RequestKind::Download:
            BuildDownloadRequest(std::get<MediaRequest>(r), out);
            break;
        case RequestKind::StopPlay:
        case RequestKind::PlayControl:
            BuildPlayControlRequest(std::get<PlayControl>(r), out);
            break;
        case RequestKind::FilePermission:
            BuildFilePermissionRequest(std::get<FileRecord>(r), out);
            break;
        case RequestKind::Backup:
        case RequestKind::DeleteFile:
            BuildFileModifyRequest(std::get<FileRecord>(r), out);
            break;
        case RequestKind::Upload:
            BuildUploadRequest(std::get<UploadRequest>(r), out);
            break;
        case RequestKind::StopDownload:
        case RequestKind::StopBackup:
        case RequestKind::StopUpload: {
            const auto& m = std::get<ClientIdMessage>(r);
            BuildClientIdMessage(m.method, m.clientId, out);
            break;
        }
        case RequestKind::UploadFinished: {
            const auto& m = std::get<ControlResponseMessage>(r);
            BuildControlResponseMessage(m.method, m.clientId, m.code, out);
            break;
        }
        case RequestKind::FileList:
            BuildFileListRequest(std::get<FileQuery>(r), out);
            break;
        case RequestKind::Unknown:
        case RequestKind::UploadData:
            return false;
    }
    return true;
}

bool PlainText(const std::string& text) {
    if (text.find("&#x") != std::string::npos) return false;
    for (const char c : text) {
        if (static_cast<unsigned char>(c) >= 0x80) return false;
    }
    return true;
}

void Decode(const char* message, size_t size) {
    kerrow::ServerRequest request;
    const kerrow::DecodeStatus status = kerrow::DecodeRequest(message, size, request);
    const bool read =
        status == kerrow::DecodeStatus::Ok || status == kerrow::DecodeStatus::Incomplete;
    Require((status == kerrow::DecodeStatus::Ok) == request.problems.empty());
    Require(read == (request.kind != RequestKind::Unknown));
    if (request.kind == RequestKind::UploadData) {
        Require(request.data == message + kerrow::kDataHeadSize);
        Require(request.dataSize == size - kerrow::kDataHeadSize);
        return;
    }
    Require(request.fields.size() <= size);
    if (status != kerrow::DecodeStatus::Ok) return;

    std::string built;
    Require(Rebuild(request, built));
    // TinyXML prints a control character as "&#xNN;" but reads that back as
    // the text "&#xNN;" itself, and it reads a byte of 0x80 or above together
    // with the bytes behind it as one character, escapes and tags included;
    // such texts change or break in a round trip. Every other request must
    // come back byte for byte.
    if (!PlainText(built)) return;
    kerrow::ServerRequest again;
    Require(kerrow::DecodeRequest(built.data(), built.size(), again) == kerrow::DecodeStatus::Ok);
    Require(again.kind == request.kind);
    std::string rebuilt;
    Require(Rebuild(again, rebuilt));
    Require(rebuilt == built);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    const char* data = reinterpret_cast<const char*>(bytes);

    // The stream as a server reads it, in pieces of 1 to 256 bytes.
    kerrow::FrameReader reader(kerrow::kServerRequestLimits);
    const size_t step = size > 0 ? static_cast<size_t>(bytes[0]) + 1 : 1;
    for (size_t at = 0; at < size; at += step) {
        reader.Feed(data + at, step < size - at ? step : size - at);
        for (;;) {
            const kerrow::FrameReader::Result result = reader.Next();
            if (result == kerrow::FrameReader::Result::NeedMore) break;
            if (result == kerrow::FrameReader::Result::Message) {
                Decode(reader.Message(), static_cast<size_t>(reader.Total()));
            }
        }
        Require(reader.Wanted() > 0);
    }

    // The whole input as one message.
    if (size >= kerrow::kHeadReadSize + 1) {
        std::string message(data, size);
        kerrow::StampContentLength(message);
        Decode(message.data(), message.size());
    }
    return 0;
}
