// What every transfer shares: the start reply, media bytes under the stall
// and cut rules, the end record; and the two transfers without media on the
// stream: backup and upload.
#include <cstdio>
#include <filesystem>
#include <fstream>

#include "Session.h"
#include "protocol/server/ServerReplies.h"
#include "store/TimeText.h"

namespace kerrow::sim {

bool Session::AnswerStart(const ServerRequest& start, const std::optional<FaultRule>& fault,
                          int code, const std::string& text) {
    Outcome outcome;
    outcome.text = text;
    transferKind_ = RequestKindName(start.kind);
    std::optional<FaultRule> replyFault;
    mediaFault_.reset();
    mediaFaultDone_ = false;
    mediaBytes_ = 0;
    if (fault) {
        switch (fault->action) {
            case FaultAction::Delay:
                Sleep(fault->ms);
                outcome.text += " [fault delay]";
                break;
            case FaultAction::Code:
                code = fault->code;
                outcome.text += " [fault code]";
                break;
            case FaultAction::Stall:
            case FaultAction::Cut:
                mediaFault_ = fault;
                break;
            default:
                replyFault = fault;
                break;
        }
    }
    const bool accepted = code <= 0 && !replyFault;
    clientId_ = accepted ? context_.NewClientId() : 0;
    if (accepted) outcome.text += ", transfer " + std::to_string(clientId_);
    std::string reply;
    BuildStartReply(start.method, clientId_, code, reply);
    outcome.code = code;
    SendReply(reply, replyFault, &outcome);
    Record(start, outcome);
    return accepted && !closed_;
}

bool Session::OfThisTransfer(const ServerRequest& request) const {
    return !request.hasClientId || request.clientId == clientId_;
}

bool Session::SendMedia(const std::string& bytes) {
    if (mediaFault_ && !mediaFaultDone_ && mediaBytes_ + bytes.size() > mediaFault_->afterBytes) {
        size_t first = mediaFault_->afterBytes > mediaBytes_
                           ? static_cast<size_t>(mediaFault_->afterBytes - mediaBytes_)
                           : 0;
        if (first > 0 && !Send(bytes.substr(0, first))) return false;
        mediaBytes_ += first;
        mediaFaultDone_ = true;
        if (mediaFault_->action == FaultAction::Cut) {
            context_.Log("conn " + std::to_string(number_) + " [fault cut] after " +
                         std::to_string(mediaBytes_) + " bytes");
            closed_ = true;
            socket_.Shutdown();
            return false;
        }
        context_.Log("conn " + std::to_string(number_) + " [fault stall] " +
                     std::to_string(mediaFault_->ms) + " ms after " + std::to_string(mediaBytes_) +
                     " bytes");
        Sleep(mediaFault_->ms);
        if (!Send(bytes.substr(first))) return false;
        mediaBytes_ += bytes.size() - first;
        return true;
    }
    if (!Send(bytes)) return false;
    mediaBytes_ += bytes.size();
    return true;
}

void Session::EndTransfer(int method, const std::string& outcome, uint64_t bytes, bool replied) {
    JournalEntry entry;
    entry.connection = number_;
    entry.method = method;
    entry.kind = transferKind_;
    entry.event = "transfer";
    entry.fields.emplace_back("ClientId", std::to_string(clientId_));
    entry.replied = replied;
    entry.outcome = outcome;
    entry.bytes = bytes;
    context_.journal->Write(entry);
    context_.Log("conn " + std::to_string(number_) + " transfer " + std::to_string(clientId_) +
                 " ended: " + outcome + ", " + std::to_string(bytes) + " bytes");
}

Session::Next Session::Backup(const ServerRequest& start, const std::optional<FaultRule>& fault) {
    const auto& file = std::get<FileRecord>(start.record);
    StoredFile stored;
    StoreResult found = context_.store->FindFile(file.fileId, file.recordType, &stored);
    if (!AnswerStart(start, fault, found, found == kStoreOk ? "backup" : "unknown file"))
        return closed_ ? Next::Close : Next::Stay;
    // Progress in ten steps while the copy is made; the client may stop it.
    for (int position = 0; position < 100; position += 10) {
        std::string notice;
        BuildProgressNotice(kMethodBackupProgress, clientId_, position, notice);
        if (!Send(notice))
            return (EndTransfer(start.method, "connection lost", 0, false), Next::Close);
        ServerRequest request;
        DecodeStatus status;
        if (Poll(50, &request, &status) && request.kind == RequestKind::StopBackup) {
            Record(request, Outcome{false, 0, "backup stopped"});
            EndTransfer(start.method, "stopped by the client", 0, false);
            return Next::Close;
        }
        if (closed_ || context_.stopping.load()) {
            EndTransfer(start.method, "connection lost", 0, false);
            return Next::Close;
        }
    }
    std::error_code error;
    std::filesystem::path target = std::filesystem::path(context_.dataDir) / "backup";
    std::filesystem::create_directories(target, error);
    target /= StoredFileName(stored.entry.recordType, stored.entry.fileId) + ".y4m";
    std::filesystem::copy_file(stored.path, target,
                               std::filesystem::copy_options::overwrite_existing, error);
    if (error) {
        EndTransfer(start.method, "backup copy failed: " + error.message(), 0, false);
        return Next::Close;
    }
    std::string end;
    BuildEndNotice(kMethodBackup, clientId_, end);
    bool sent = Send(end);
    EndTransfer(start.method, "backed up to " + target.string(), stored.entry.fileSize, sent);
    return Next::Close;
}

Session::Next Session::Upload(const ServerRequest& start, const std::optional<FaultRule>& fault) {
    const auto& upload = std::get<UploadRequest>(start.record);
    std::string path;
    std::ofstream file;
    int code = kStoreOk;
    if (upload.FileSize <= 0) {
        code = kBadRequest;
    } else {
        path = context_.store->NewUploadPath();
        file.open(path, std::ios::binary | std::ios::trunc);
        if (!file) code = kStorageFailure;
    }
    if (!AnswerStart(start, fault, code, code == kStoreOk ? "upload" : "upload refused")) {
        if (!path.empty()) std::remove(path.c_str());
        return closed_ ? Next::Close : Next::Stay;
    }
    const uint64_t announced = static_cast<uint64_t>(upload.FileSize);
    uint64_t received = 0;
    std::string outcome = "connection lost";
    while (!closed_ && !framingLost_ && !context_.stopping.load()) {
        ServerRequest request;
        DecodeStatus status;
        if (!Poll(250, &request, &status)) continue;
        if (status == DecodeStatus::Ok && request.kind == RequestKind::UploadData) {
            // Bytes beyond the announced size are counted, not stored.
            if (received < announced)
                file.write(request.data, static_cast<std::streamsize>(std::min<uint64_t>(
                                             request.dataSize, announced - received)));
            received += request.dataSize;
            continue;
        }
        if (status == DecodeStatus::Ok && !OfThisTransfer(request)) {
            Refuse(request, kNoSuchTransfer, "another transfer's ClientId");
            continue;
        }
        if (status == DecodeStatus::Ok && request.kind == RequestKind::StopUpload) {
            Record(request, Outcome{false, 0, "upload stopped"});
            outcome = "stopped by the client";
            break;
        }
        if (status != DecodeStatus::Ok || request.kind != RequestKind::UploadFinished) {
            Refuse(request, kBadRequest, "not part of an upload");
            continue;
        }
        file.close();
        int result = kUploadIncomplete;
        std::string text =
            "received " + std::to_string(received) + " of " + std::to_string(announced) + " bytes";
        FileEntry entry;
        if (received == announced && file) {
            result = context_.store->AddUploadedFile(upload, path, WallClockNow(), &entry);
            if (result == kStoreOk)
                text = "stored as " + StoredFileName(entry.recordType, entry.fileId) +
                       " of camera " + entry.cameraGuid;
        }
        std::string reply;
        BuildResultReply(kMethodUpload, result, reply);
        Outcome answer{Send(reply), result, text};
        Record(request, answer);
        if (result != kStoreOk) std::remove(path.c_str());
        EndTransfer(start.method, text, received, answer.replied);
        return Next::Close;
    }
    file.close();
    std::remove(path.c_str());
    EndTransfer(start.method, outcome + ", upload discarded", received, false);
    return Next::Close;
}

}  // namespace kerrow::sim
