// The server's side of a transfer in the tests: start replies and notices,
// and a bounded wait for a state that the library's worker thread changes.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>
#include <thread>

#include "support/TestServer.h"

namespace kerrow::test {

// The start reply: the transfer's ClientId (0: none) and the result code.
inline std::string StartReply(int method, uint32_t clientId, int code) {
    std::string lines;
    if (clientId != 0) lines = "    <ClientId>" + std::to_string(clientId) + "</ClientId>\n";
    return ControlMessage(method, lines + "    <ControlResponse>\n        <Code>" +
                                      std::to_string(code) + "</Code>\n    </ControlResponse>\n");
}

// A progress notice (508, 512, 517) and an end notice (500, 510, 515).
inline std::string Progress(int method, uint32_t clientId, int position) {
    return ControlMessage(method, "    <ClientId>" + std::to_string(clientId) +
                                      "</ClientId>\n    <Position>" + std::to_string(position) +
                                      "</Position>\n");
}
inline std::string EndNotice(int method, uint32_t clientId) {
    return ControlMessage(method, "    <ClientId>" + std::to_string(clientId) + "</ClientId>\n");
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
