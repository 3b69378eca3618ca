#include "Session.h"

#include <chrono>
#include <thread>

#include "protocol/server/ServerReplies.h"

namespace kerrow::sim {
namespace {

bool IsStart(RequestKind kind) {
    return kind == RequestKind::Play || kind == RequestKind::Download ||
           kind == RequestKind::Backup || kind == RequestKind::Upload;
}

// A framed message whose text is not XML, for the not_xml fault.
std::string NotXmlReply(const std::string& reply) {
    std::string bytes = reply.substr(0, std::min(reply.size(), kDataHeadSize));
    bytes += "<Method>this reply is <not XML\n";
    StampContentLength(bytes);
    return bytes;
}

}  // namespace

void Context::Log(const std::string& line) {
    std::lock_guard<std::mutex> lock(logMutex_);
    if (log_) *log_ << line << std::endl;
}

uint32_t Context::NewClientId() {
    uint32_t id = nextClientId.fetch_add(1);
    return id == 0 ? nextClientId.fetch_add(1) : id;
}

namespace {

struct CameraOf {
    std::string operator()(const CameraRequest& r) const { return r.guid; }
    std::string operator()(const AddPolicyRequest& r) const { return r.cameraGuid; }
    std::string operator()(const PolicySelector& r) const { return r.cameraGuid; }
    std::string operator()(const AlarmRequest& r) const { return r.camera.guid; }
    std::string operator()(const CameraSelector& r) const { return r.cameraGuid; }
    std::string operator()(const PolicyQuery& r) const { return r.cameraGuid; }
    std::string operator()(const TaskQuery& r) const { return r.cameraGuid; }
    std::string operator()(const FileQuery& r) const { return r.cameraGuid; }
    std::string operator()(const MediaRequest& r) const { return r.CameraGUID; }
    std::string operator()(const UploadRequest& r) const { return r.Label; }
    template <class Other>
    std::string operator()(const Other&) const {
        return "";
    }
};

}  // namespace

std::string RequestCamera(const ServerRequest& request) {
    return std::visit(CameraOf{}, request.record);
}

std::string Session::TransferCamera(const ServerRequest& request) const {
    // A request by file names no camera: the file's camera counts.
    uint32_t fileId = 0;
    int16_t recordType = -1;
    if (const auto* media = std::get_if<MediaRequest>(&request.record)) {
        if (media->PlayType != 1) return media->CameraGUID;
        fileId = media->FileID;
        recordType = static_cast<int16_t>(media->RecordType);
    } else if (const auto* file = std::get_if<FileRecord>(&request.record)) {
        fileId = file->fileId;
        recordType = file->recordType;
    } else {
        return RequestCamera(request);
    }
    StoredFile stored;
    if (context_.store->FindFile(fileId, recordType, &stored) != kStoreOk) return "";
    return stored.entry.cameraGuid;
}

Session::Session(Context& context, Socket socket, uint64_t number, std::string peer)
    : context_(context), socket_(std::move(socket)), number_(number), peer_(std::move(peer)) {}

void Session::Run() {
    context_.Log("conn " + std::to_string(number_) + " open from " + peer_);
    while (!context_.stopping.load() && !closed_) {
        ServerRequest request;
        DecodeStatus status;
        if (!Poll(250, &request, &status)) continue;
        if (Handle(request, status) == Next::Close || framingLost_) break;
    }
    socket_.Shutdown();
    context_.Log("conn " + std::to_string(number_) + " closed");
    done_.store(true);
}

bool Session::Poll(int timeoutMs, ServerRequest* request, DecodeStatus* status) {
    for (;;) {
        switch (reader_.Next()) {
            case FrameReader::Result::Message:
                *status = DecodeRequest(reader_.Message(), static_cast<size_t>(reader_.Total()),
                                        *request);
                return true;
            case FrameReader::Result::Rejected:
                // The length digits are out of range: the framing is lost, so
                // after the answer the connection ends.
                *request = ServerRequest();
                request->problems.push_back("length digits out of range: " +
                                            std::to_string(reader_.Total()));
                *status = DecodeStatus::BadLength;
                framingLost_ = true;
                return true;
            case FrameReader::Result::NeedMore:
                break;
        }
        if (closed_ || framingLost_) return false;
        char* space = nullptr;
        size_t room = reader_.Prepare(FrameReader::kGrowStep, &space);
        long n = socket_.Read(space, room, timeoutMs);
        if (n == Socket::kClosed) {
            closed_ = true;
            return false;
        }
        if (n == Socket::kTimeout) return false;
        reader_.Commit(static_cast<size_t>(n));
    }
}

bool Session::Send(const std::string& bytes) {
    if (closed_) return false;
    if (!socket_.WriteAll(bytes.data(), bytes.size(), 10000)) {
        closed_ = true;
        return false;
    }
    return true;
}

void Session::Sleep(int ms) {
    auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(ms);
    while (!context_.stopping.load() && std::chrono::steady_clock::now() < end)
        std::this_thread::sleep_for(std::chrono::milliseconds(std::min(ms, 20)));
}

void Session::Record(const ServerRequest& request, const Outcome& outcome) {
    JournalEntry entry;
    entry.connection = number_;
    entry.method = request.method;
    entry.kind = RequestKindName(request.kind);
    entry.event = "request";
    entry.fields = request.fields;
    entry.replied = outcome.replied;
    entry.code = outcome.code;
    entry.outcome = outcome.text;
    context_.journal->Write(entry);
    std::string line = "conn " + std::to_string(number_) + " " + std::to_string(request.method) +
                       " " + RequestKindName(request.kind) + ": ";
    line += outcome.replied ? "code " + std::to_string(outcome.code) : std::string("no reply");
    if (!outcome.text.empty()) line += ", " + outcome.text;
    context_.Log(line);
}

Session::Next Session::SendReply(const std::string& reply, const std::optional<FaultRule>& fault,
                                 Outcome* outcome) {
    if (!fault || fault->action == FaultAction::Delay || fault->action == FaultAction::Code) {
        outcome->replied = Send(reply);
        return Next::Stay;
    }
    outcome->text += std::string(" [fault ") + FaultActionName(fault->action) + "]";
    switch (fault->action) {
        case FaultAction::NoReply:
            return Next::Stay;
        case FaultAction::CloseBefore:
            closed_ = true;
            return Next::Close;
        case FaultAction::CloseMidway:
            Send(reply.substr(0, reply.size() / 2));
            closed_ = true;
            return Next::Close;
        case FaultAction::BadLength: {
            std::string bytes = reply;
            if (bytes.size() >= kLengthOffset + kLengthDigits)
                bytes.replace(kLengthOffset, kLengthDigits, fault->digits);
            Send(bytes);
            return Next::Stay;
        }
        case FaultAction::NotXml:
            Send(NotXmlReply(reply));
            return Next::Stay;
        default:
            outcome->replied = Send(reply);
            return Next::Stay;
    }
}

Session::Next Session::Refuse(const ServerRequest& request, int code, const std::string& why) {
    std::string reply;
    if (IsStart(request.kind))
        BuildStartReply(request.method, 0, code, reply);
    else
        BuildResultReply(request.method < 0 ? 0 : request.method, code, reply);
    Outcome outcome;
    outcome.code = code;
    outcome.text = why;
    outcome.replied = Send(reply);
    Record(request, outcome);
    return closed_ ? Next::Close : Next::Stay;
}

Session::Next Session::Handle(const ServerRequest& request, DecodeStatus status) {
    if (status != DecodeStatus::Ok) {
        std::string why = DecodeStatusName(status);
        if (!request.problems.empty()) why += ": " + request.problems.front();
        return Refuse(
            request, status == DecodeStatus::UnknownMethod ? int{kUnknownMethod} : int{kBadRequest},
            why);
    }
    std::optional<FaultRule> fault;
    switch (request.kind) {
        case RequestKind::UploadData: {
            // Data messages get no reply; outside an upload they are dropped.
            Outcome outcome;
            outcome.text = "upload data outside an upload, dropped";
            Record(request, outcome);
            return Next::Stay;
        }
        case RequestKind::Play:
        case RequestKind::Download:
        case RequestKind::Backup:
        case RequestKind::Upload:
            fault = context_.faults->Match(request.method, TransferCamera(request), number_);
            if (request.kind == RequestKind::Backup) return Backup(request, fault);
            if (request.kind == RequestKind::Upload) return Upload(request, fault);
            return Stream(request, fault);
        case RequestKind::StopPlay:
        case RequestKind::PlayControl:
        case RequestKind::StopDownload:
        case RequestKind::StopBackup:
        case RequestKind::StopUpload:
        case RequestKind::UploadFinished:
            return Refuse(request, kNoSuchTransfer, "no transfer runs on this connection");
        default:
            break;
    }
    fault = context_.faults->Match(request.method, RequestCamera(request), number_);
    std::string reply;
    Outcome outcome;
    if (fault && fault->action == FaultAction::Delay) Sleep(fault->ms);
    if (!fault || fault->action == FaultAction::Delay || fault->action == FaultAction::Stall ||
        fault->action == FaultAction::Cut) {
        bool delayed = fault && fault->action == FaultAction::Delay;
        outcome = Control(request, &reply);
        if (delayed) outcome.text += " [fault delay]";
        fault.reset();
    } else {
        // A faulty reply stands in for the request, which changes nothing.
        int code = fault->action == FaultAction::Code ? fault->code : 0;
        BuildResultReply(request.method, code, reply);
        outcome.code = code;
        outcome.text = "not carried out";
        if (fault->action == FaultAction::Code) outcome.text += std::string(" [fault code]");
    }
    Next next = SendReply(reply, fault, &outcome);
    Record(request, outcome);
    return next;
}

}  // namespace kerrow::sim
