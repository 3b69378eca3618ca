// The library and its connections as C++ objects: Library initialises and
// releases KerrowSDK, Connection connects and disconnects, runs the control
// operations and starts transfers.
#pragma once

#include <cstdint>
#include <list>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "KerrowSDK.h"
#include "kerrow/error.hpp"
#include "kerrow/records.hpp"
#include "kerrow/transfer.hpp"

namespace kerrow {

// Initialises the library for as long as one Library object lives (they may
// nest). A library that the application had already initialised through the
// flat exports is left initialised.
class Library {
  public:
    Library() {
        std::lock_guard<std::mutex> lock(mutex());
        if (users()++ == 0) {
            const int r = Kerrow_Init();
            if (r != 0 && r != 1) {
                --users();
                throw Error(r, "initialise the library");
            }
            owner() = r == 0;
        }
    }
    ~Library() {
        std::lock_guard<std::mutex> lock(mutex());
        if (--users() == 0 && owner()) Kerrow_Release();
    }
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;

    // Connections with a transfer in progress (or ended and not stopped).
    static int transferCount() { return Kerrow_GetTaskNum(); }

  private:
    static std::mutex& mutex() {
        static std::mutex m;
        return m;
    }
    static int& users() {
        static int n = 0;
        return n;
    }
    static bool& owner() {
        static bool o = false;
        return o;
    }
};

// One connection to the storage server, working for one camera. A transfer
// stopped on a connection closes it: open one connection per transfer.
// Destroying a connection stops its transfer first.
class Connection {
  public:
    Connection(const Library&, ConnectionSettings settings)
        : settings_(std::move(settings)), state_(std::make_shared<detail::ConnState>()) {
        const ConnectionRecord record = settings_.record();
        uint32_t id = 0;
        check(Kerrow_Connect(&record, &id), "connect");
        state_->id = id;
        state_->connected = true;
    }
    ~Connection() { disconnect(); }
    Connection(Connection&&) noexcept = default;
    Connection& operator=(Connection&& other) noexcept {
        if (this != &other) {
            disconnect();
            settings_ = std::move(other.settings_);
            state_ = std::move(other.state_);
        }
        return *this;
    }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    uint32_t id() const { return state_ ? state_->id : 0; }
    const ConnectionSettings& settings() const { return settings_; }
    const std::string& camera() const { return settings_.cameraId; }

    // Stops a running transfer, then disconnects; later calls fail with 7.
    void disconnect() {
        if (!state_) return;
        std::lock_guard<std::mutex> lock(state_->mutex);
        if (!state_->connected) return;
        detail::stopLocked(*state_);
        Kerrow_Disconnect(state_->id);
        state_->connected = false;
        state_->retired.clear();  // the library calls back no more
    }

    // Camera of this connection.
    void addCamera() { check(Kerrow_AddDevice(id()), "add camera"); }
    void modifyCamera() { check(Kerrow_MdyDevice(id()), "modify camera"); }
    void deleteCamera() { check(Kerrow_DelDevice(id()), "delete camera"); }

    // Record policies and their tasks.
    void addPolicy(const Policy& p) {
        RecordPolicy r{};
        r.policyId = p.id;
        detail::putText(r.cameraGuid, p.cameraGuid.empty() ? camera() : p.cameraGuid, "camera id");
        r.recordType = p.recordType;
        r.cronType = p.cronType;
        r.policyStatus = p.status;
        r.createTime = toTransferTime(p.created);
        r.updateTime = toTransferTime(p.updated);
        r.taskCount = static_cast<int32_t>(p.tasks.size());
        r.maxRecordTime = p.maxRecordTime;
        for (const Task& t : p.tasks) r.tasks.push_back(t.record());
        check(Kerrow_RecordPolicy_Start(id(), &r), "add policy");
    }
    void modifyPolicy(uint32_t policyId, uint16_t status) {
        check(Kerrow_RecordPolicy_Modify(id(), policyId, status), "modify policy");
    }
    void deletePolicy(uint32_t policyId) {
        check(Kerrow_RecordPolicy_Del(id(), policyId), "delete policy");
    }
    void deleteAllPolicies() {
        check(Kerrow_RecordPolicy_DelAll(id(), camera().c_str()), "delete all policies");
    }
    std::vector<Policy> policies(uint32_t recordType = 0) {
        std::list<RecordPolicy> found;
        check(Kerrow_RecordPolicy_Query(id(), camera().c_str(), recordType, &found),
              "query policies");
        std::vector<Policy> out;
        for (const RecordPolicy& r : found) out.push_back(Policy::from(r));
        return out;
    }
    void addTask(uint32_t policyId, const Task& t) {
        const PolicyTask r = t.record();
        check(Kerrow_RecordPolicy_AddTask(id(), policyId, &r), "add task");
    }
    void modifyTask(uint32_t policyId, const Task& t) {
        const PolicyTask r = t.record();
        check(Kerrow_RecordPolicy_ModifyTask(id(), policyId, &r), "modify task");
    }
    void deleteTask(uint32_t policyId, uint32_t taskId) {
        check(Kerrow_RecordPolicy_DelTask(id(), policyId, taskId), "delete task");
    }
    // 0xFFFF leaves a criterion out.
    std::vector<TaskInfo> tasks(uint16_t recordType = 0xFFFF, uint16_t cronType = 0xFFFF) {
        std::list<PolicyTaskInfo> found;
        check(Kerrow_RecordPolicy_QueryTask(id(), camera().c_str(), recordType, cronType, &found),
              "query tasks");
        std::vector<TaskInfo> out;
        for (const PolicyTaskInfo& r : found) out.push_back(TaskInfo::from(r));
        return out;
    }

    // Alarms and manual recording of this connection's camera.
    void raiseAlarm(const Alarm& alarm) {
        const AlarmInput r = alarm.record();
        check(Kerrow_RecordPolicy_Alarm(id(), &r), "raise alarm");
    }
    void clearAlarm() { check(Kerrow_Stop_Alarm(id(), camera().c_str()), "clear alarm"); }
    void startRecording(uint32_t maxSeconds) {
        Policy p;
        p.recordType = 3;
        p.maxRecordTime = maxSeconds;
        addPolicy(p);
    }
    void stopRecording() {
        check(Kerrow_RecordPolicy_StopTaskEx(id(), camera().c_str()), "stop recording");
    }

    // The catalogue of this connection's camera.
    std::vector<FileInfo> files(uint16_t recordType, Time from, Time to,
                                const std::string& alarmType = "") {
        std::list<VideoFileInfo> found;
        check(Kerrow_GetVideoFileList(id(), camera().c_str(), recordType, alarmType.c_str(),
                                      toTransferTime(from), toTransferTime(to), &found),
              "list files");
        std::vector<FileInfo> out;
        for (const VideoFileInfo& r : found) out.push_back(FileInfo::from(r));
        return out;
    }
    void deleteFile(const std::string& fileId) {
        check(Kerrow_DeleteFile(id(), fileName(fileId).c_str()), "delete file");
    }
    void setFilePermission(const std::string& fileId, uint16_t permission) {
        check(Kerrow_ModifyFilePermission(id(), fileName(fileId).c_str(), permission),
              "change file permission");
    }

    // Transfers. Each runs until it ends, is stopped or is destroyed.
    Playback play(const std::string& fileId, TransferCallbacks cb = {}) {
        const std::string name = fileName(fileId);
        return start<Playback>(
            TransferKind::Playback, std::move(cb), "start playback",
            [&](uint32_t* h) { return Kerrow_StartVideoPlay_F(id(), name.c_str(), h); });
    }
    Playback play(uint16_t recordType, Time from, Time to, TransferCallbacks cb = {}) {
        return start<Playback>(
            TransferKind::Playback, std::move(cb), "start playback", [&](uint32_t* h) {
                return Kerrow_StartVideoPlay_T(id(), recordType, toTransferTime(from),
                                               toTransferTime(to), h);
            });
    }
    Download download(const std::string& fileId, const std::string& path,
                      TransferCallbacks cb = {}) {
        const std::string name = fileName(fileId);
        Download d = start<Download>(
            TransferKind::Download, std::move(cb), "start download", [&](uint32_t* h) {
                return Kerrow_StartVideoDownLoad_F(id(), name.c_str(), path.c_str(), h);
            });
        d.path_ = path;
        return d;
    }
    Download download(uint16_t recordType, Time from, Time to, const std::string& path,
                      TransferCallbacks cb = {}) {
        Download d = start<Download>(
            TransferKind::Download, std::move(cb), "start download", [&](uint32_t* h) {
                return Kerrow_StartVideoDownLoad_T(id(), recordType, toTransferTime(from),
                                                   toTransferTime(to), path.c_str(), h);
            });
        d.path_ = path;
        return d;
    }
    Upload upload(const UploadInfo& info, TransferCallbacks cb = {}) {
        const UploadFileInfo r = info.record();
        return start<Upload>(TransferKind::Upload, std::move(cb), "start upload",
                             [&](uint32_t* h) { return Kerrow_StartVideoUpLoad(id(), &r, h); });
    }
    Backup backup(const std::string& fileId, TransferCallbacks cb = {}) {
        const std::string name = fileName(fileId);
        return start<Backup>(TransferKind::Backup, std::move(cb), "start backup",
                             [&](uint32_t* h) { return Kerrow_BackupFile(id(), name.c_str(), h); });
    }

  private:
    // The exports read exactly 12 characters of a file id.
    static std::string fileName(const std::string& fileId) {
        if (fileId.size() != 12 || fileId.find_first_not_of("0123456789") != std::string::npos) {
            throw Error(7, "file id '" + fileId + "' is not 12 digits");
        }
        return fileId;
    }

    static int bind(TransferKind kind, uint32_t id, uint32_t handle, void* user) {
        switch (kind) {
            case TransferKind::Playback: {
                const int r = Kerrow_SetVideoPlayDataCallBack(id, handle, &detail::onData, user);
                return r != 0
                           ? r
                           : Kerrow_SetVideoPlayTerminalCallBack(id, handle, &detail::onEnd, user);
            }
            case TransferKind::Download:
                return Kerrow_SetVideoDownLoadTerminalCallBack(id, handle, &detail::onEnd, user);
            case TransferKind::Upload:
                return Kerrow_SetVideoUpLoadTerminalCallBack(id, handle, &detail::onEnd, user);
            case TransferKind::Backup:
                return Kerrow_SetVideoBackupTerminalCallBack(id, handle, &detail::onEnd, user);
        }
        return 7;
    }

    // Starts a transfer and binds its callbacks. A start that failed but
    // still issued a handle, or a download that failed after creating its
    // file, is stopped at once so that no worker or file is left behind.
    template <typename T, typename StartFn>
    T start(TransferKind kind, TransferCallbacks cb, const char* what, StartFn startFn) {
        if (!state_) throw Error(7, what);
        std::lock_guard<std::mutex> lock(state_->mutex);
        if (state_->sink)
            throw Error(7, std::string(what) + ": a transfer runs on this connection");
        auto sink = std::make_shared<detail::Sink>(std::move(cb));
        uint32_t handle = 0;
        int r = startFn(&handle);
        if (r == 0) r = bind(kind, id(), handle, sink.get());
        const bool leftOpen =
            kind == TransferKind::Download && (r == 11 || r == 12 || r == 15 || r == 350);
        if (r != 0 && (handle != 0 || leftOpen)) {
            sink->close();
            detail::stopExport(kind, id(), handle);
            state_->retired.push_back(sink);
        }
        check(r, what);
        state_->kind = kind;
        state_->handle = handle;
        state_->sink = sink;
        return T(state_, kind, handle, std::move(sink));
    }

    ConnectionSettings settings_;
    std::shared_ptr<detail::ConnState> state_;
};

}  // namespace kerrow
