// The two exchanges behind every control operation: one request, one reply
// wait of 5 seconds, nothing retried. Once a wait of this connection has timed
// out, failures report 11.
#include "client/ControlExchange.h"

#include <tinyxml.h>

#include "client/Client.h"
#include "log/Log.h"

namespace kerrow {
namespace {

constexpr int32_t kReplyWaitSeconds = 5;

}  // namespace

bool Client::SendRequest(const std::string& request, const ControlTexts& texts) {
    KLOG_INFO << texts.sending << request;
    if (Send(request.data(), static_cast<int32_t>(request.size())) >= 1) return true;
    SetLastError(kResultNetwork);
    KLOG_INFO << texts.sendFailed;
    return false;
}

int32_t Client::RunControl(const std::string& request, const ControlTexts& texts) {
    int32_t result = 0;
    if (!SendRequest(request, texts)) return kResultNetwork;
    ReceiveResult(kReplyWaitSeconds, result);
    if (result == 0) {
        KLOG_INFO << texts.succeeded;
        return kResultOk;
    }
    KLOG_INFO << texts.failed << result;
    SetLastError(texts.failureCode);
    result = texts.failureCode;
    if (TimedOut()) {
        KLOG_INFO << texts.timedOut << connectionId_;
        result = kResultTimedOut;
    }
    return result;
}

int32_t Client::RunDocumentExchange(const std::string& request, const ControlTexts& texts,
                                    bool failureSetsLastError,
                                    std::unique_ptr<TiXmlDocument>& document) {
    int32_t result = 0;
    if (!SendRequest(request, texts)) return kResultNetwork;
    document = ReceiveXml(kReplyWaitSeconds);
    if (document) return kResultOk;
    KLOG_INFO << texts.failed << result;
    result = texts.failureCode;
    if (failureSetsLastError) SetLastError(texts.failureCode);
    if (TimedOut()) {
        KLOG_INFO << texts.timedOut << connectionId_;
        result = kResultTimedOut;
    }
    return result;
}

}  // namespace kerrow
