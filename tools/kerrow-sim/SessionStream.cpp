// Playback and download: the stored bytes of a file, or of a camera's files
// in a time span one after the other, each file as a header block and data
// blocks. Playback is paced at the recording's own rate and follows pause,
// resume, speed and jump; download runs at full speed.
#include <algorithm>
#include <chrono>
#include <cmath>
#include <fstream>
#include <memory>

#include "MediaLayout.h"
#include "Session.h"
#include "protocol/server/ServerReplies.h"
#include "store/TimeText.h"

namespace kerrow::sim {
namespace {

using Clock = std::chrono::steady_clock;

constexpr int kHeaderContentType = 1;
constexpr int kDataContentType = 2;

struct Piece {
    std::unique_ptr<std::ifstream> in;
    uint64_t size = 0;
    MediaLayout layout;
    double rate = 1;  // bytes per second of the recording
};

bool OpenPiece(const StoredFile& file, Piece* piece) {
    piece->in = std::make_unique<std::ifstream>(file.path, std::ios::binary);
    if (!*piece->in) return false;
    piece->in->seekg(0, std::ios::end);
    piece->size = static_cast<uint64_t>(std::max<std::streamoff>(0, piece->in->tellg()));
    std::string prefix(static_cast<size_t>(std::min<uint64_t>(piece->size, 4096)), '\0');
    piece->in->seekg(0);
    piece->in->read(&prefix[0], static_cast<std::streamsize>(prefix.size()));
    piece->layout = ReadMediaLayout(prefix, piece->size);
    int64_t start = 0, end = 0;
    double seconds = 1;
    if (ParseWallTime(file.entry.startTime, &start) && ParseWallTime(file.entry.endTime, &end) &&
        end > start)
        seconds = static_cast<double>(end - start);
    piece->rate = std::max(1.0, static_cast<double>(piece->size) / seconds);
    return static_cast<bool>(*piece->in);
}

bool ReadAt(Piece& piece, uint64_t offset, size_t size, std::string* out) {
    out->resize(size);
    piece.in->clear();
    piece.in->seekg(static_cast<std::streamoff>(offset));
    piece.in->read(&(*out)[0], static_cast<std::streamsize>(size));
    return static_cast<size_t>(piece.in->gcount()) == size;
}

}  // namespace

Session::Next Session::Stream(const ServerRequest& start, const std::optional<FaultRule>& fault) {
    const auto& media = std::get<MediaRequest>(start.record);
    const bool play = start.kind == RequestKind::Play;
    std::vector<StoredFile> files;
    StoreResult found = kBadRequest;
    if (media.PlayType == 1) {
        StoredFile file;
        found =
            context_.store->FindFile(media.FileID, static_cast<int16_t>(media.RecordType), &file);
        if (found == kStoreOk) files.push_back(file);
    } else if (media.PlayType == 2) {
        FileQuery query;
        query.cameraGuid = media.CameraGUID;
        query.recordType = static_cast<int16_t>(media.RecordType);
        query.startTime = media.StartTime;
        query.endTime = media.EndTime;
        found = context_.store->FilesForSpan(query, &files);
        if (found == kStoreOk && files.empty()) found = kUnknownFile;
    }
    std::vector<Piece> pieces(files.size());
    uint64_t total = 0;
    for (size_t i = 0; i < files.size() && found == kStoreOk; ++i) {
        if (!OpenPiece(files[i], &pieces[i])) found = kStorageFailure;
        total += pieces[i].size;
    }
    std::string what = std::to_string(files.size()) + " files, " + std::to_string(total) + " bytes";
    if (!AnswerStart(start, fault, found, found == kStoreOk ? what : "no such recording"))
        return closed_ ? Next::Close : Next::Stay;
    const std::string camera = files.empty() ? std::string() : files.front().entry.cameraGuid;

    size_t index = 0;     // the file being sent
    uint64_t before = 0;  // bytes of the files before it
    uint64_t offset = 0;  // next byte of the file to send
    bool header = true;   // its header block goes first
    double speed = 1;
    bool paused = false;
    uint64_t sent = 0;
    int lastPercent = -1;
    Clock::time_point due = Clock::now();
    Clock::time_point nextProgress = due;
    std::string outcome, block, message;
    for (;;) {
        if (context_.stopping.load()) {
            outcome = "simulator stopping";
            break;
        }
        if (closed_) {
            outcome = mediaFaultDone_ && mediaFault_->action == FaultAction::Cut
                          ? "cut by a fault rule"
                          : "connection lost";
            break;
        }
        if (index == pieces.size()) {
            std::string end;
            BuildEndNotice(play ? kMethodPlay : kMethodDownload, clientId_, end);
            outcome = Send(end) ? "complete" : "connection lost before the end notice";
            break;
        }
        auto wait = std::chrono::duration_cast<std::chrono::milliseconds>(due - Clock::now());
        int waitMs = paused ? 100
                     : play ? static_cast<int>(std::clamp<int64_t>(wait.count(), 0, 50))
                            : 0;
        ServerRequest request;
        DecodeStatus status;
        if (Poll(waitMs, &request, &status)) {
            if (status != DecodeStatus::Ok) {
                Refuse(request, kBadRequest, DecodeStatusName(status));
                continue;
            }
            if (!OfThisTransfer(request)) {
                Refuse(request, kNoSuchTransfer, "another transfer's ClientId");
                continue;
            }
            if (request.kind == RequestKind::StopPlay ||
                request.kind == RequestKind::StopDownload) {
                Record(request, Outcome{false, 0, "stopped"});
                outcome = "stopped by the client";
                break;
            }
            if (!play || request.kind != RequestKind::PlayControl) {
                Refuse(request, kNoSuchTransfer, "not a control of this transfer");
                continue;
            }
            const auto& control = std::get<PlayControl>(request.record);
            Outcome answer{false, kStoreOk, ""};
            switch (control.PlayAction) {
                case 1:
                    paused = true;
                    answer.text = "paused";
                    break;
                case 2:
                    paused = false;
                    due = Clock::now();
                    answer.text = "resumed";
                    break;
                case 3:
                    if (std::isfinite(control.PlaySpeed) && control.PlaySpeed > 0) {
                        speed = std::clamp<double>(control.PlaySpeed, 1.0 / 16, 64);
                        answer.text = "speed " + std::to_string(speed);
                    } else {
                        answer.code = kBadRequest;
                        answer.text = "speed out of range";
                    }
                    break;
                case 4: {
                    uint64_t target = total * std::min<uint64_t>(control.Position, 100) / 100;
                    index = 0;
                    before = 0;
                    while (index + 1 < pieces.size() && before + pieces[index].size <= target)
                        before += pieces[index++].size;
                    offset = AlignToFrame(pieces[index].layout,
                                          std::min(target - before, pieces[index].size));
                    header = true;
                    due = Clock::now();
                    answer.text = "jumped to " + std::to_string(control.Position) + "%";
                    break;
                }
                default:
                    answer.code = kBadRequest;
                    answer.text = "unknown PlayAction";
            }
            std::string ack;
            BuildPlayControlAck(clientId_, answer.code, ack);
            auto controlFault = context_.faults->Match(request.method, camera, number_);
            if (controlFault && controlFault->action == FaultAction::Delay) Sleep(controlFault->ms);
            if (controlFault && controlFault->action == FaultAction::Code) {
                BuildPlayControlAck(clientId_, controlFault->code, ack);
                answer.code = controlFault->code;
            }
            SendReply(ack, controlFault, &answer);
            Record(request, answer);
            continue;
        }
        if (paused || (play && Clock::now() < due)) continue;

        Piece& piece = pieces[index];
        size_t payload = 0;
        if (header) {
            header = false;
            offset = std::max(offset, piece.layout.headerSize);
            payload = static_cast<size_t>(piece.layout.headerSize);
            if (payload > 0 && ReadAt(piece, 0, payload, &block))
                BuildMediaMessage(kHeaderContentType, block.data(), block.size(), message);
        } else if (offset >= piece.size) {
            before += piece.size;
            ++index;
            offset = 0;
            header = true;
            continue;
        } else {
            size_t most = kMaxMediaPayload;
            if (play)
                most = static_cast<size_t>(std::clamp(piece.rate * speed / 10, 2048.0, 40850.0));
            payload = static_cast<size_t>(std::min<uint64_t>(most, piece.size - offset));
            if (!ReadAt(piece, offset, payload, &block)) {
                outcome = "stored file could not be read";
                break;
            }
            BuildMediaMessage(kDataContentType, block.data(), block.size(), message);
            offset += payload;
        }
        if (payload > 0) {
            if (!SendMedia(message)) continue;  // the loop's head says why
            sent += payload;
        }
        if (play)
            due += std::chrono::microseconds(
                static_cast<int64_t>(1e6 * static_cast<double>(payload) / (piece.rate * speed)));
        int percent = total == 0 ? 100 : static_cast<int>((before + offset) * 100 / total);
        bool report = play ? Clock::now() >= nextProgress : percent >= lastPercent + 10;
        if (report && percent < 100) {
            std::string notice;
            BuildProgressNotice(play ? kMethodPlayProgress : kMethodDownloadProgress, clientId_,
                                percent, notice);
            Send(notice);
            lastPercent = percent;
            nextProgress = Clock::now() + std::chrono::seconds(1);
        }
    }
    EndTransfer(start.method, outcome, sent, outcome == "complete");
    return Next::Close;
}

}  // namespace kerrow::sim
