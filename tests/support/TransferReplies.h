// The server's side of a transfer in the tests: start replies and notices,
// and a bounded wait for a state that the library's worker thread changes.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>
#include <thread>

#include "protocol/server/ServerReplies.h"
#include "support/TestServer.h"

namespace kerrow::test {

// The start reply: the transfer's ClientId (0: none, the result reply alone)
// and the result code.
inline std::string StartReply(int method, uint32_t clientId, int code) {
    if (clientId == 0) return ResultReply(method, code);
    std::string message;
    BuildStartReply(method, clientId, code, message);
    return message;
}

// A progress notice (508, 512, 517) and an end notice (500, 510, 515).
inline std::string Progress(int method, uint32_t clientId, int position) {
    std::string message;
    BuildProgressNotice(method, clientId, position, message);
    return message;
}
inline std::string EndNotice(int method, uint32_t clientId) {
    std::string message;
    BuildEndNotice(method, clientId, message);
    return message;
}

// Polls a state that the worker changes until it holds or the time runs out.
inline bool Eventually(const std::function<bool()>& condition, Millis timeout = TestServer::kWait) {
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    while (!condition()) {
        if (std::chrono::steady_clock::now() >= deadline) return false;
        std::this_thread::sleep_for(Millis(2));
    }
    return true;
}

}  // namespace kerrow::test
