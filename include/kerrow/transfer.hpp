// Transfers of the C++ layer: playback, download, upload and backup objects
// that stop themselves when destroyed, with std::function callbacks.
//
// The library calls back on the transfer's worker thread through stdcall
// functions with a void* user value. That value is a Sink owned here; it
// stays alive until the connection is disconnected, after which the library
// calls nothing more. Closing a Sink waits for a callback in progress and
// turns later ones into no-ops, so the library's stop never waits on
// application code. No exception leaves a callback: one thrown by the
// application is kept and rethrown by wait().
#pragma once

#include <sys/stat.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "KerrowSDK.h"
#include "kerrow/error.hpp"

namespace kerrow {

enum class TransferKind { Playback = 2, Download = 3, Upload = 4, Backup = 5 };

enum class TransferState {
    Running,
    Finished,    // the server's end notice, or the whole upload sent
    EndedShort,  // an upload whose file ended before its announced size
    Stopped      // stopped by the application or by its connection's end
};

struct TransferCallbacks {
    // Playback media: content type 1 and 3 are header blocks, 2 and 4 data.
    // Runs on the worker thread; data is valid only during the call.
    std::function<void(uint32_t contentType, const uint8_t* data, size_t length)> data;
    // Percentage, called by wait() on the waiting thread when it changes.
    std::function<void(int percent)> progress;
    // The transfer ended by itself (true: normally). Runs on the worker
    // thread, at most once; not called for a stop or a broken network.
    std::function<void(bool finished)> end;
};

namespace detail {

class Sink {
  public:
    explicit Sink(TransferCallbacks callbacks) : callbacks_(std::move(callbacks)) {}

    const TransferCallbacks& callbacks() const { return callbacks_; }

    // Marks a callback in progress; false once the sink is closed.
    bool enter() {
        std::lock_guard<std::mutex> lock(mutex_);
        if (!open_) return false;
        ++active_;
        worker_ = std::this_thread::get_id();
        return true;
    }
    void leave() {
        std::lock_guard<std::mutex> lock(mutex_);
        --active_;
        changed_.notify_all();
    }
    // No callback reaches the application after this returns (except the
    // one that calls it, when a callback closes its own sink).
    void close() {
        std::unique_lock<std::mutex> lock(mutex_);
        open_ = false;
        const auto self = std::this_thread::get_id();
        changed_.wait(lock, [&] { return active_ == 0 || worker_ == self; });
    }
    bool onWorker() {
        std::lock_guard<std::mutex> lock(mutex_);
        return active_ > 0 && worker_ == std::this_thread::get_id();
    }
    // byWorker: the library's end callback said so; its worker has then
    // closed the link (and a download's file) and is leaving by itself.
    void end(TransferState state, bool byWorker = false) {
        std::lock_guard<std::mutex> lock(mutex_);
        if (state_ == TransferState::Running) state_ = state;
        if (byWorker) byWorker_ = true;
        changed_.notify_all();
    }
    bool endedByWorker() {
        std::lock_guard<std::mutex> lock(mutex_);
        return byWorker_;
    }
    void fail(std::exception_ptr error) {
        std::lock_guard<std::mutex> lock(mutex_);
        if (!failure_) failure_ = std::move(error);
        open_ = false;
        if (state_ == TransferState::Running) state_ = TransferState::Stopped;
        changed_.notify_all();
    }
    TransferState state() {
        std::lock_guard<std::mutex> lock(mutex_);
        return state_;
    }
    // Waits at most the given time for the end; the end state or Running.
    TransferState waitEnd(std::chrono::milliseconds timeout) {
        std::unique_lock<std::mutex> lock(mutex_);
        changed_.wait_for(lock, timeout, [&] { return state_ != TransferState::Running; });
        return state_;
    }
    std::exception_ptr takeFailure() {
        std::lock_guard<std::mutex> lock(mutex_);
        return std::exchange(failure_, nullptr);
    }

  private:
    const TransferCallbacks callbacks_;
    std::mutex mutex_;
    std::condition_variable changed_;
    bool open_ = true;
    int active_ = 0;
    std::thread::id worker_;
    TransferState state_ = TransferState::Running;
    bool byWorker_ = false;
    std::exception_ptr failure_;
};

inline void KERROW_CALL onData(uint32_t, uint32_t, uint32_t contentType, const uint8_t* data,
                               uint32_t length, void* user) noexcept {
    auto* sink = static_cast<Sink*>(user);
    if (sink == nullptr || !sink->enter()) return;
    // The exception is handed over only once its catch block has ended, so
    // that the thread that rethrows it is its last owner.
    std::exception_ptr error;
    try {
        if (sink->callbacks().data) sink->callbacks().data(contentType, data, length);
    } catch (...) {
        error = std::current_exception();
    }
    if (error) sink->fail(std::move(error));
    sink->leave();
}

inline void KERROW_CALL onEnd(uint32_t, uint32_t, uint32_t finished, void* user) noexcept {
    auto* sink = static_cast<Sink*>(user);
    if (sink == nullptr || !sink->enter()) return;
    std::exception_ptr error;
    try {
        if (sink->callbacks().end) sink->callbacks().end(finished != 0);
    } catch (...) {
        error = std::current_exception();
    }
    if (error) sink->fail(std::move(error));
    sink->end(finished != 0 ? TransferState::Finished : TransferState::EndedShort, true);
    sink->leave();
}

// What a Connection and the transfer running on it share.
struct ConnState {
    std::mutex mutex;
    uint32_t id = 0;
    bool connected = false;
    TransferKind kind{};
    uint32_t handle = 0;
    std::shared_ptr<Sink> sink;  // the running transfer's, if any
    // Sinks whose address the library may still hold; freed after disconnect.
    std::vector<std::shared_ptr<Sink>> retired;
};

inline int stopExport(TransferKind kind, uint32_t id, uint32_t handle) {
    switch (kind) {
        case TransferKind::Playback:
            return Kerrow_StopVideoPlay(id, handle);
        case TransferKind::Download:
            return Kerrow_StopVideoDownLoad(id, handle);
        case TransferKind::Upload:
            return Kerrow_StopVideoUpLoad(id, &handle);
        case TransferKind::Backup:
            return Kerrow_StopBackupFile(id, handle);
    }
    return 7;
}

// Stops the connection's transfer (mutex held): callbacks silenced first,
// then the library's stop, which ends the worker and closes its file.
inline void stopLocked(ConnState& c) {
    if (!c.sink) return;
    // A transfer that ended by itself has a worker that is leaving on its
    // own: it has closed the link (and the download's file), and an upload's
    // worker still tells the server that the file is complete. A stop now
    // would race that worker; disconnecting waits for it instead.
    const bool ended = c.sink->endedByWorker();
    c.sink->close();
    if (c.connected && !ended) stopExport(c.kind, c.id, c.handle);
    c.sink->end(TransferState::Stopped);
    c.retired.push_back(std::move(c.sink));
    c.handle = 0;
}

}  // namespace detail

class Transfer {
  public:
    Transfer() = default;
    Transfer(Transfer&& other) noexcept { swap(other); }
    Transfer& operator=(Transfer&& other) noexcept {
        if (this != &other) {
            stop();
            swap(other);
        }
        return *this;
    }
    ~Transfer() { stop(); }

    TransferKind kind() const { return kind_; }
    uint32_t handle() const { return handle_; }
    uint32_t connectionId() const { return conn_ ? conn_->id : 0; }
    TransferState state() const { return sink_ ? sink_->state() : TransferState::Stopped; }

    // The server's progress in percent (upload: the share handed on).
    int position() const {
        if (!conn_) throw Error(7, "transfer position");
        uint32_t pos = 0;
        int r = 7;
        switch (kind_) {
            case TransferKind::Playback:
                r = Kerrow_GetVideoPlayPos(conn_->id, handle_, &pos);
                break;
            case TransferKind::Download:
                r = Kerrow_GetVideoDownLoadPos(conn_->id, handle_, &pos);
                break;
            case TransferKind::Upload:
                r = Kerrow_GetVideoUpLoadPos(conn_->id, handle_, &pos);
                break;
            case TransferKind::Backup:
                r = Kerrow_GetBackupFilePos(conn_->id, handle_, &pos);
                break;
        }
        check(r, "transfer position");
        return static_cast<int>(pos);
    }

    // Waits at most timeout for the end, reporting progress on the way;
    // true when the transfer has ended. Rethrows an exception that one of
    // the transfer's callbacks threw. A progress of 100 that holds for a
    // second without an end notice also counts as the end.
    bool wait(std::chrono::milliseconds timeout = std::chrono::hours(24 * 365)) {
        if (!sink_) return true;
        using Clock = std::chrono::steady_clock;
        const auto deadline = Clock::now() + timeout;
        const auto step = std::chrono::milliseconds(100);
        for (;;) {
            const auto left =
                std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now());
            TransferState s =
                sink_->waitEnd(std::max(std::chrono::milliseconds(0), std::min(left, step)));
            if (s == TransferState::Running) s = pollProgress(Clock::now());
            if (s != TransferState::Running) {
                if (s == TransferState::Finished) report(100);
                if (auto failure = sink_->takeFailure()) std::rethrow_exception(failure);
                return true;
            }
            if (Clock::now() >= deadline) return false;
        }
    }

    // Stops the transfer; nothing is called back afterwards. Called from
    // inside one of its own callbacks it only silences the later ones; the
    // library's stop then happens at the next stop() or at destruction.
    void stop() {
        if (!conn_ || !sink_) return;
        if (sink_->onWorker()) {
            sink_->close();
            return;
        }
        std::lock_guard<std::mutex> lock(conn_->mutex);
        if (conn_->sink == sink_) detail::stopLocked(*conn_);
    }

  protected:
    Transfer(std::shared_ptr<detail::ConnState> conn, TransferKind kind, uint32_t handle,
             std::shared_ptr<detail::Sink> sink)
        : conn_(std::move(conn)), sink_(std::move(sink)), kind_(kind), handle_(handle) {}

    void swap(Transfer& other) noexcept {
        std::swap(conn_, other.conn_);
        std::swap(sink_, other.sink_);
        std::swap(kind_, other.kind_);
        std::swap(handle_, other.handle_);
        std::swap(lastPercent_, other.lastPercent_);
        std::swap(fullSince_, other.fullSince_);
    }

    std::shared_ptr<detail::ConnState> conn_;
    std::shared_ptr<detail::Sink> sink_;
    TransferKind kind_ = TransferKind::Playback;
    uint32_t handle_ = 0;

  private:
    void report(int percent) {
        if (percent == lastPercent_) return;
        lastPercent_ = percent;
        if (sink_->callbacks().progress) sink_->callbacks().progress(percent);
    }

    TransferState pollProgress(std::chrono::steady_clock::time_point now) {
        int percent = 0;
        try {
            percent = position();
        } catch (const Error&) {
            return sink_->state();  // the connection has gone; stop() tells
        }
        report(percent);
        if (percent < 100 || kind_ == TransferKind::Upload) {
            fullSince_ = {};
        } else if (fullSince_ == std::chrono::steady_clock::time_point{}) {
            fullSince_ = now;
        } else if (now - fullSince_ >= std::chrono::seconds(1)) {
            sink_->end(TransferState::Finished);
        }
        return sink_->state();
    }

    int lastPercent_ = -1;
    std::chrono::steady_clock::time_point fullSince_{};

    friend class Connection;
};

class Playback : public Transfer {
  public:
    Playback() = default;
    void pause() { check(Kerrow_VideoPlayPause(id(), handle_), "pause playback"); }
    void resume() { check(Kerrow_VideoPlayResume(id(), handle_), "resume playback"); }
    void jump(uint16_t position) {
        check(Kerrow_VideoPlayJump(id(), handle_, position), "jump in playback");
    }
    void fast(float speed) { check(Kerrow_VideoPlayFast(id(), handle_, speed), "play fast"); }
    void slow(float speed) { check(Kerrow_VideoPlaySlow(id(), handle_, speed), "play slow"); }

  private:
    using Transfer::Transfer;
    uint32_t id() const { return connectionId(); }
    friend class Connection;
};

class Download : public Transfer {
  public:
    Download() = default;
    const std::string& path() const { return path_; }
    // Bytes written to the local file so far.
    int64_t bytes() const {
        struct stat st {};
        return ::stat(path_.c_str(), &st) == 0 ? static_cast<int64_t>(st.st_size) : 0;
    }

  private:
    using Transfer::Transfer;
    std::string path_;
    friend class Connection;
};

class Upload : public Transfer {
  public:
    Upload() = default;

  private:
    using Transfer::Transfer;
    friend class Connection;
};

class Backup : public Transfer {
  public:
    Backup() = default;

  private:
    using Transfer::Transfer;
    friend class Connection;
};

}  // namespace kerrow
