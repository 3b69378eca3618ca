// The receive loop of playback, download and backup. It cuts the transfer's
// stream into enveloped messages (the 63 bytes up to the length digits, then
// the rest), follows the server's notices, and hands header and data blocks
// on by kind: to the application's data callback (play), to the target file
// (download) or nowhere (backup).
#include <tinyxml.h>

#include <algorithm>
#include <cstring>
#include <new>

#include "client/Client.h"
#include "log/Log.h"
#include "net/Connection.h"
#include "platform/Files.h"
#include "protocol/Elements.h"
#include "protocol/Envelope.h"
#include "protocol/FrameReader.h"
#include "protocol/Methods.h"
#include "protocol/Replies.h"
#include "transfer/Transfer.h"
#include "util/TimeText.h"

namespace kerrow {
namespace {

// One read takes whatever the socket holds, up to this much; the frame
// reader cuts the messages out of it. Larger reads make the sender wait: the
// receive window reopens only when a read's copy has ended (a 1 GiB playback
// ran at 0.65 of a plain client's speed with reads of 256 KiB, at 0.87-0.90
// with 128 KiB; 64 KiB cost more CPU for the same speed).
constexpr size_t kReadAheadBytes = 128 * 1024;
constexpr uint32_t kIdleWaitMs = 10;     // after a read that found nothing
constexpr int64_t kSilenceSeconds = 30;  // a message body that stalls this long ends the transfer

bool IsHeaderBlock(int contentType) { return contentType == 1 || contentType == 3; }
bool IsDataBlock(int contentType) { return contentType == 2 || contentType == 4; }

// Download blocks written together: the data blocks of the messages cut
// from one read go to the file in one gather write. They point into the
// frame reader's buffer, so the loop writes them before it reads again,
// before a notice (the end notice closes the file), before a header (whose
// copy is freed once written) and before it waits or leaves (after which a
// stop may close the file).
class PendingWrites {
  public:
    void Add(platform::File& file, const void* data, uint32_t length) {
        if (!file.IsOpen()) return;
        if (count_ == kSpans) Flush(file);
        spans_[count_++] = {data, length};
    }
    void Flush(platform::File& file) {
        if (count_ > 0 && file.IsOpen()) platform::WriteFileGather(file.Get(), spans_, count_);
        count_ = 0;
    }

  private:
    static constexpr size_t kSpans = 16;
    platform::ByteSpan spans_[kSpans];
    size_t count_ = 0;
};

// What became of a complete message.
enum class Handled {
    Done,  // consumed: the buffer is free for the next message
    Hold,  // kept whole in the buffer and looked at again on the next pass
    Exit,  // the worker leaves at once
};

}  // namespace

void Client::ReceiveLoop(Transfer& transfer) {
    // Bytes read ahead are dropped with the reader when the loop ends (the
    // end notice, a stop, a failure), as the closed socket's would be.
    FrameReader reader(kTransferLimits);
    reader.Reserve(kReadAheadBytes);
    const char* message = nullptr;  // the complete message being handled
    long total = 0;
    bool held = false;     // the message waits, whole, to be handled again
    bool drained = false;  // the last read found the socket empty, or emptied it
    Transfer::HeaderHold& header = transfer.header;

    auto stopWithLinkClosed = [this, &transfer] {
        transfer.stopRequest.store(true);
        if (!connection_->IsClosed()) connection_->Close();
    };
    // Sleeps until the socket is readable, a stop or resume wakes the
    // worker, or (inside a message) the body's stall would be due.
    auto awaitData = [this, &transfer](bool inBody) {
        uint32_t wait = platform::kInfinite;
        if (inBody) {
            const int64_t left = lastActive_.load() + kSilenceSeconds - Now64();
            wait = left <= 0
                       ? 0
                       : static_cast<uint32_t>(std::min<int64_t>(left, kSilenceSeconds)) * 1000;
        }
        transfer.AwaitReadable(connection_->Socket(), wait);
    };
    // The results of the file's writes are not looked at.
    PendingWrites pending;
    auto writeToFile = [&](const void* data, uint32_t length) {
        pending.Add(transfer.file, data, length);
    };
    auto flushWrites = [&] { pending.Flush(transfer.file); };
    // The callback may stop the transfer, or disconnect and so destroy this
    // Client; in that case the worker ends right after it.
    auto deliver = [this, &transfer](PlayDataCallBack callback, int contentType,
                                     const uint8_t* data, uint32_t length) {
        transfer.CallData(callback, connectionId_, static_cast<uint32_t>(contentType), data,
                          length);
    };
    auto deliverHeader = [&](PlayDataCallBack callback, int contentType) {
        deliver(callback, contentType, header.copy.get(), header.length);
        header.Release();
    };

    // An XML message: the end of the transfer, a progress notice, or any
    // other reply, which acknowledges every waiting play control at once.
    auto handleNotice = [&]() -> Handled {
        flushWrites();
        TiXmlDocument document;
        if (!ParseDocument(message, static_cast<size_t>(total), document)) {
            return Handled::Hold;
        }
        const int32_t method = ReadMethod(document);
        switch (method) {
            case kMethodPlay:
            case kMethodDownload:
            case kMethodBackup: {
                // Any of the three ends any kind of transfer.
                KLOG_INFO << "播放、下载或备份完成！";
                transfer.progress.store(100);
                transfer.stopRequest.store(true);
                if (method == kMethodDownload) transfer.file.Close();
                if (!connection_->IsClosed()) connection_->Close();
                transfer.CallTerminal(connectionId_, true);
                break;
            }
            case kMethodPlayProgress:
            case kMethodDownloadProgress:
            case kMethodBackupProgress: {
                uint32_t clientId = 0;
                int32_t position = 0;
                ParseProgress(document, clientId, position);
                KLOG_INFO << "收到进度:" << position;
                transfer.progress.store(position);
                break;
            }
            default:
                SetControlFlag(kAckControls);
                break;
        }
        return Handled::Done;
    };

    // A header block is copied once; a second one that comes while the first
    // is still pending is ignored.
    auto handleHeader = [&](int contentType, const uint8_t* payload, uint32_t length) -> Handled {
        if (length == 0) return Handled::Done;
        if (!header.pending) {
            header.copy.reset();
            header.pending = true;
            header.delivered = false;
            header.copy.reset(new (std::nothrow) uint8_t[length]);
            if (!header.copy) {
                KLOG_INFO << "header data new memory err,size:" << length;
                transfer.stopRequest.store(true);
                return Handled::Exit;
            }
            std::memcpy(header.copy.get(), payload, length);
            header.length = length;
        }
        switch (GetTransferKind()) {
            case kTransferPlay: {
                // Nothing is lost before the application binds its callback.
                PlayDataCallBack callback = transfer.dataCallback.load();
                if (callback == nullptr) return Handled::Hold;
                if (header.pending && !header.delivered) deliverHeader(callback, contentType);
                break;
            }
            case kTransferDownload:
                if (header.pending && !header.delivered) {
                    writeToFile(header.copy.get(), header.length);
                    flushWrites();
                    header.Release();
                }
                break;
            default:
                break;  // a backup keeps the copy pending
        }
        return Handled::Done;
    };

    // A data block goes after any header that has not been handed on yet.
    auto handleData = [&](int contentType, const uint8_t* payload, uint32_t length) -> Handled {
        if (length == 0) return Handled::Done;
        switch (GetTransferKind()) {
            case kTransferPlay: {
                PlayDataCallBack callback = transfer.dataCallback.load();
                if (callback == nullptr) return Handled::Hold;
                if (header.pending && !header.delivered) {
                    deliverHeader(callback, contentType);
                    // A stop inside that call unbinds the callback.
                    callback = transfer.dataCallback.load();
                    if (callback == nullptr) break;
                }
                deliver(callback, contentType, payload, length);
                break;
            }
            case kTransferDownload:
                if (header.pending && !header.delivered) {
                    writeToFile(header.copy.get(), header.length);
                    header.delivered = true;
                }
                writeToFile(payload, length);
                break;
            default:
                break;  // a backup drops media
        }
        return Handled::Done;
    };

    auto handleMessage = [&]() -> Handled {
        const int contentType = ReadContentType(message, static_cast<size_t>(total));
        const auto* payload = reinterpret_cast<const uint8_t*>(message) + kDataHeadSize;
        const uint32_t length = total > static_cast<long>(kDataHeadSize)
                                    ? static_cast<uint32_t>(total) - kDataHeadSize
                                    : 0;
        if (contentType == kContentTypeControl) return handleNotice();
        if (IsHeaderBlock(contentType)) return handleHeader(contentType, payload, length);
        if (IsDataBlock(contentType)) return handleData(contentType, payload, length);
        KLOG_INFO << "接收来自服务端错误的contenttype类型，为:" << contentType;
        return Handled::Done;
    };

    for (;;) {
        if (transfer.stopRequest.load()) {
            flushWrites();
            return;
        }
        if (transfer.paused.load()) {
            flushWrites();
            // The server's data waits in the socket meanwhile. Resume, stop
            // and close wake the worker; the time of its waking counts as
            // activity, so a long pause never looks like a stalled body.
            transfer.Idle(platform::kInfinite);
            UpdateActiveTime();
            continue;
        }
        if (connection_->IsClosed()) {
            transfer.stopRequest.store(true);
            KLOG_INFO << "连接已断开";
            continue;
        }

        if (held) {
            // The held message is looked at again; nothing more is read
            // meanwhile. The link decides what a read of no bytes answers.
            if (connection_->Read(nullptr, 0) < 0) {
                SetLastError(kResultNetwork);
                transfer.stopRequest.store(true);
                KLOG_INFO << "接收错误 Receive bodydata return -1";
                if (!connection_->IsClosed()) connection_->Close();
                continue;
            }
            flushWrites();
            transfer.Idle(kIdleWaitMs);  // a binding wakes it at once
        } else {
            // Messages already read ahead are handled before anything more
            // is read, one a pass.
            FrameReader::Result next = reader.Next();
            if (next == FrameReader::Result::NeedMore) {
                flushWrites();
                const bool headComplete = reader.Buffered() >= kHeadReadSize;
                // A read that emptied the socket is followed by a wait, not
                // by a read that would only find it empty; what woke the
                // worker (data, a pause, a stop) is looked at from the top.
                if (drained) {
                    awaitData(headComplete);
                    drained = false;
                    continue;
                }
                char* space = nullptr;
                const size_t room = reader.Prepare(kReadAheadBytes, &space);
                const int32_t n = connection_->Read(space, static_cast<int32_t>(room));
                if (n < 0) {
                    if (headComplete) {
                        SetLastError(kResultNetwork);
                        transfer.stopRequest.store(true);
                        KLOG_INFO << "接收错误 Receive bodydata return -1";
                    } else {
                        transfer.stopRequest.store(true);
                        KLOG_INFO << "接收错误 Receive headdata return -1";
                        SetLastError(kResultBadReply);
                    }
                    if (!connection_->IsClosed()) connection_->Close();
                    continue;
                }
                reader.Commit(static_cast<size_t>(n));
                drained = static_cast<size_t>(n) < room;
                next = reader.Next();
                // Silence between messages is not timed; a stalled body is.
                if (next == FrameReader::Result::NeedMore && reader.Buffered() < kHeadReadSize) {
                    continue;
                }
            }
            if (next == FrameReader::Result::Rejected) {
                total = reader.Total();
                stopWithLinkClosed();
                KLOG_INFO << "接收错误 totallen：" << total;
                continue;
            }
            if (next == FrameReader::Result::Message) {
                message = reader.Message();
                total = reader.Total();
            } else {
                message = nullptr;
            }
        }

        if (message != nullptr) {
            const Handled handled = handleMessage();
            if (handled == Handled::Exit) {
                flushWrites();
                return;
            }
            held = handled == Handled::Hold;
            if (held) continue;  // not timed either
            UpdateActiveTime();
            message = nullptr;
            total = 0;
        }

        if (Now64() - lastActive_.load() >= kSilenceSeconds) {
            KLOG_INFO << "接收来自服务端视频数据超时（30秒），准备退出线程";
            SetLastError(kResultTimedOut);
            stopWithLinkClosed();
        }
    }
}

}  // namespace kerrow
