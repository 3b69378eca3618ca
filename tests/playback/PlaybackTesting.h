// Shared pieces of the transfer tests: the server's side of a transfer (start
// replies, notices, media blocks), a recorder behind the application's
// callbacks, and a session whose server starts every transfer it is asked for.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <fstream>
#include <functional>
#include <mutex>
#include <sstream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "client/ClientTesting.h"
#include "support/TransferReplies.h"

namespace kerrow::test {

constexpr uint32_t kTaskId = 4711;  // the server's ClientId of every transfer

inline std::string Progress(int method, int position) {
    return test::Progress(method, kTaskId, position);
}
inline std::string EndNotice(int method) { return test::EndNotice(method, kTaskId); }

// True once the library has read every byte that arrived on its connections
// to the given server port: the receive queues in /proc/net/tcp are empty.
inline bool ClientReadEverything(uint16_t serverPort) {
    return Eventually([serverPort] {
        std::ifstream table("/proc/net/tcp");
        std::string line;
        std::getline(table, line);  // column titles
        char remote[16];
        std::snprintf(remote, sizeof remote, ":%04X", serverPort);
        bool found = false;
        while (std::getline(table, line)) {
            std::istringstream fields(line);
            std::string slot, local, rem, state, queues;
            fields >> slot >> local >> rem >> state >> queues;
            if (state != "01" || rem.size() < 5 || rem.substr(rem.size() - 5) != remote) continue;
            found = true;
            if (queues.substr(queues.find(':') + 1) != "00000000") return false;
        }
        return found;
    });
}

struct Block {
    uint32_t contentType;
    std::string bytes;
    bool operator==(const Block& o) const {
        return contentType == o.contentType && bytes == o.bytes;
    }
};

// What reached the application's callbacks, and with which identities.
struct Recorder {
    std::mutex mutex;
    std::condition_variable changed;
    std::vector<Block> blocks;
    std::vector<uint32_t> ends;  // finished values of the terminal callback
    uint32_t connection = 0;
    uint32_t handle = 0;
    // Runs inside the data callback, last, once the block is recorded.
    std::function<void(const Block&)> onBlock;

    bool WaitBlocks(size_t count, Millis timeout = TestServer::kWait) {
        return WaitFor(timeout, [&] { return blocks.size() >= count; });
    }
    bool WaitEnds(size_t count) {
        return WaitFor(TestServer::kWait, [&] { return ends.size() >= count; });
    }
    std::vector<Block> Blocks() {
        std::lock_guard<std::mutex> lock(mutex);
        return blocks;
    }
    std::vector<uint32_t> Ends() {
        std::lock_guard<std::mutex> lock(mutex);
        return ends;
    }
    // The connection number and handle that the callbacks were given.
    std::pair<uint32_t, uint32_t> Identity() {
        std::lock_guard<std::mutex> lock(mutex);
        return {connection, handle};
    }

  private:
    template <class Predicate>
    bool WaitFor(Millis timeout, Predicate ready) {
        std::unique_lock<std::mutex> lock(mutex);
        return changed.wait_for(lock, timeout, ready);
    }
};

inline void KERROW_CALL RecordData(uint32_t connection, uint32_t handle, uint32_t contentType,
                                   const uint8_t* data, uint32_t length, void* user) {
    auto* seen = static_cast<Recorder*>(user);
    Block block{contentType, std::string(reinterpret_cast<const char*>(data), length)};
    {
        std::lock_guard<std::mutex> lock(seen->mutex);
        seen->connection = connection;
        seen->handle = handle;
        seen->blocks.push_back(block);
        seen->changed.notify_all();
    }
    if (seen->onBlock) seen->onBlock(block);
}

inline void KERROW_CALL RecordEnd(uint32_t connection, uint32_t handle, uint32_t finished,
                                  void* user) {
    auto* seen = static_cast<Recorder*>(user);
    std::lock_guard<std::mutex> lock(seen->mutex);
    seen->connection = connection;
    seen->handle = handle;
    seen->ends.push_back(finished);
    seen->changed.notify_all();
}

// A session whose server answers every playback and backup start with the
// start reply given to Answer (ClientId kTaskId and code 0 by default; none
// when empty) followed by the given bytes, and every other request through
// the given function (no reply when it is unset).
class Transfer : public Session {
  protected:
    using Answerer = std::function<Reply(const Request&)>;

    void SetUp() override {
        Session::SetUp();
        server_.SetHandler([this](const Request& r) {
            std::lock_guard<std::mutex> lock(answerLock_);
            if (r.Method() == 500 || r.Method() == 515) {
                return startReply_.empty() ? Reply::Never() : Reply::Now(startReply_ + first_);
            }
            return other_ ? other_(r) : Reply::Never();
        });
    }
    void TearDown() override {
        Session::TearDown();
        server_.Stop();  // no handler runs once this fixture's members go
    }
    void Answer(std::string startReply, std::string first = "", Answerer other = nullptr) {
        std::lock_guard<std::mutex> lock(answerLock_);
        startReply_ = std::move(startReply);
        first_ = std::move(first);
        other_ = std::move(other);
    }
    void AnswerOthers(Answerer other) {
        std::lock_guard<std::mutex> lock(answerLock_);
        other_ = std::move(other);
    }
    uint32_t StartPlay(uint32_t connection) {
        uint32_t handle = 0;
        EXPECT_EQ(0, Kerrow_StartVideoPlay_F(connection, "200000001234", &handle));
        return handle;
    }
    void BindPlay(uint32_t connection, uint32_t handle, Recorder& seen) {
        EXPECT_EQ(0, Kerrow_SetVideoPlayDataCallBack(connection, handle, RecordData, &seen));
        EXPECT_EQ(0, Kerrow_SetVideoPlayTerminalCallBack(connection, handle, RecordEnd, &seen));
    }
    void BindPlay(uint32_t connection, uint32_t handle) { BindPlay(connection, handle, seen_); }
    uint32_t Position(uint32_t connection) {
        uint32_t position = 0xFFFF;
        EXPECT_EQ(0, Kerrow_GetVideoPlayPos(connection, 0, &position));
        return position;
    }

    Recorder seen_;
    Recorder more_[3];  // for cases that run several transfers

  private:
    std::mutex answerLock_;
    std::string startReply_ = StartReply(500, kTaskId, 0);
    std::string first_;
    Answerer other_;
};

}  // namespace kerrow::test
