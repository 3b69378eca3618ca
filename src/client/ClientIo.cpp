// Sending a request and waiting for its reply. Every reply starts with the
// 63 bytes of the envelope head whose last eight digits give the total size
// of the message; the waits read the head, then the rest, then parse it.
#include <tinyxml.h>

#include <cstring>
#include <vector>

#include "client/Client.h"
#include "log/Log.h"
#include "net/Connection.h"
#include "protocol/Elements.h"
#include "protocol/Envelope.h"
#include "protocol/FrameReader.h"
#include "protocol/Replies.h"
#include "util/TimeText.h"

namespace kerrow {
namespace {

// A read that found nothing waits this long for the socket to turn readable
// before the clock is looked at again.
constexpr uint32_t kIdleWaitMs = 10;

}  // namespace

// One reply wait: the reader that cuts the reply out of what the connection
// gives. Its buffer grows with the bytes that arrive, never with the total
// that a head announces.
struct Client::Wait {
    explicit Wait(const FrameLimits& limits) : reader(limits) {}
    FrameReader reader;
};

void Client::SetControlFlag(uint32_t flag) {
    platform::CriticalSectionGuard guard(flagLock_);
    controlFlags_.fetch_or(flag, std::memory_order_relaxed);
}

int32_t Client::Send(const char* buffer, int32_t length) {
    if (!connection_) {
        SetLastError(kResultBadArgument);
        return -1;
    }
    int32_t result = -1;
    if (connection_->IsClosed()) {
        KLOG_INFO << "network has been colsed!";
    } else {
        result = connection_->Write(buffer, length);
    }
    if (result != length) {
        KLOG_INFO << "network send data error, will send " << length << " betes, has sended "
                  << result << " bytes.";
    }
    return result;
}

// Reads what the connection has, at most what the reply still lacks (so
// that the rest of a rejected reply stays on the connection), and lets the
// reader cut the reply.
Client::WaitEnd Client::ReadReply(int32_t timeoutSeconds, Wait& wait) {
    if (timeoutSeconds < 1) timeoutSeconds = 0;
    const int64_t deadline = Now64() + timeoutSeconds;
    FrameReader& reader = wait.reader;
    // A reply is seldom there the moment its request has gone: wait for it
    // before the first read rather than after a read that finds nothing.
    // A wait of no time makes its single read pass at once; a failed wait
    // leaves the answer to the read.
    if (timeoutSeconds > 0) connection_->WaitReadable(kIdleWaitMs);

    for (;;) {
        if (connection_->IsClosed()) return WaitEnd::Closed;
        const bool inBody = reader.Buffered() >= kHeadReadSize;
        char* space = nullptr;
        const size_t room = reader.Prepare(reader.Wanted(), &space);
        const int32_t n = connection_->Read(space, static_cast<int32_t>(room));
        if (n < 0) {
            SetControlFlag(kNetworkBroken);
            return inBody ? WaitEnd::BodyFailed : WaitEnd::HeadFailed;
        }
        reader.Commit(static_cast<size_t>(n));
        switch (reader.Next()) {
            case FrameReader::Result::Message:
                return WaitEnd::Complete;
            case FrameReader::Result::Rejected:
                // Nothing but the length digits is read from the head.
                return WaitEnd::Rejected;
            case FrameReader::Result::NeedMore:
                break;
        }
        if (n == 0) connection_->WaitReadable(kIdleWaitMs);
        if (Now64() >= deadline) return WaitEnd::TimedOut;
    }
}

std::unique_ptr<TiXmlDocument> Client::ReceiveXml(int32_t timeoutSeconds) {
    if (!connection_) return nullptr;
    Wait wait(kDocumentWaitLimits);
    switch (ReadReply(timeoutSeconds, wait)) {
        case WaitEnd::Complete:
            break;
        case WaitEnd::HeadFailed:
        case WaitEnd::BodyFailed:
            SetLastError(kResultNetwork);
            return nullptr;
        case WaitEnd::TimedOut:
            timedOut_.store(true);
            SetLastError(kResultTimedOut);
            return nullptr;
        case WaitEnd::Closed:
        case WaitEnd::Rejected:
            return nullptr;
    }
    std::string text(wait.reader.Message(), static_cast<size_t>(wait.reader.Total()));
    KLOG_INFO << "接收到的xml:" << text;
    auto document = std::make_unique<TiXmlDocument>();
    if (!ParseDocument(text.data(), text.size(), *document)) return nullptr;
    return document;
}

int32_t Client::ReceiveResult(int32_t timeoutSeconds, int32_t& result) {
    if (!connection_) {
        result = kResultConnectFailed;
        return -1;
    }
    Wait wait(kResultWaitLimits);
    switch (ReadReply(timeoutSeconds, wait)) {
        case WaitEnd::Complete:
            break;
        case WaitEnd::Closed:
            return -1;
        case WaitEnd::HeadFailed:
            // lastError is left alone while the head is read.
            result = kResultConnectFailed;
            return -1;
        case WaitEnd::BodyFailed:
            SetLastError(kResultNetwork);
            result = kResultConnectFailed;
            return -1;
        case WaitEnd::TimedOut:
            timedOut_.store(true);
            SetLastError(kResultTimedOut);
            result = -1;
            return 0;
        case WaitEnd::Rejected:
            result = kResultBadReply;
            return 0;
    }
    std::string text(wait.reader.Message(), static_cast<size_t>(wait.reader.Total()));
    KLOG_INFO << "收到的 xml命令：" << text;
    auto document = std::make_unique<TiXmlDocument>();
    if (!ParseDocument(text.data(), text.size(), *document)) {
        rejectedReply_ = std::move(document);
        result = kResultBadReply;
        return 0;
    }
    int32_t method = 0;
    ParseControlResponse(*document, method, result);
    return 0;
}

}  // namespace kerrow
