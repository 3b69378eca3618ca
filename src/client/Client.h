// One Client stands behind every open connection number: it owns the
// Connection to the storage server, runs the connection's commands one at a
// time under its command lock, and carries the state of the connection's
// transfer.
//
// Commands run on the application's threads, one at a time (commandLock_);
// the transfer's worker (src/transfer) runs beside them, and the registry
// reads a few marks from any thread. The worker touches the Client only
// while its Transfer holds it (see Transfer.h); Close cuts it off first.
//
// clang-format off
// | field                              | written by                          | read by                              | how            |
// |------------------------------------|-------------------------------------|--------------------------------------|----------------|
// | connection_                        | Connect; Close, destructor          | commands; worker                     | command lock; the worker is cut off before Close |
// | record_, createdAt_, connectionId_ | Connect; constructor                | commands                             | command lock   |
// | transfer_, startFile_              | starts; Close                       | commands                             | command lock   |
// | connected_, workerRunning_         | Connect, starts, Close              | registry; commands                   | atomic         |
// | transferKind_                      | starts, stops                       | registry (task count); worker        | atomic         |
// | transferTaskId_, transferHandle_   | starts, stops                       | commands (bindings, controls)        | atomic         |
// | lastError_, timedOut_              | commands; worker                    | commands                             | atomic         |
// | lastActive_                        | commands; worker                    | worker (stalled body); registry      | atomic         |
// | controlFlags_                      | worker (acknowledgements); commands | commands awaiting an acknowledgement | atomic, changed under flagLock_ |
// | progressValue_                     | starts                              | position queries                     | atomic         |
// | uploadTotalBytes_, uploadSentBytes_| upload start; worker                | upload position query                | atomic         |
// | rejectedReply_                     | result waits (commands)             | nobody: kept until the next          | command lock   |
// clang-format on
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

#include "KerrowSDK.h"
#include "client/Commands.h"
#include "platform/Clock.h"
#include "platform/Files.h"
#include "platform/Sync.h"
#include "protocol/Records.h"

class TiXmlDocument;

namespace kerrow {

class Connection;
class Transfer;
struct ControlTexts;
struct TransferTexts;

class Client {
  public:
    // Takes its connection number from the process-wide counter (util/Ids.h).
    Client();
    ~Client();
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

    // 103 connects with the record, 104 closes; other commands do nothing.
    int32_t Init(int32_t command, const ConnectionRecord* record);
    void Close();
    int32_t Execute(int32_t code, void* input, void* output, void* extra);

    // One write of the whole message: the bytes written, or -1.
    int32_t Send(const char* buffer, int32_t length);
    // Waits for one reply and parses it; null on time-out, network failure,
    // a length below 64 or a text that is not XML. The caller owns it.
    std::unique_ptr<TiXmlDocument> ReceiveXml(int32_t timeoutSeconds);
    // Waits for one reply of 64 to 10240 bytes and yields its Code in result
    // (18 for a bad length or text, -1 for a time-out); -1 when the
    // connection failed (result 3, or untouched when it was already closed).
    int32_t ReceiveResult(int32_t timeoutSeconds, int32_t& result);

    bool IsDisconnected() const { return !connected_.load(std::memory_order_relaxed); }
    // Connected and silent for more than 40 seconds.
    bool IsIdle() const;
    void UpdateActiveTime();

    int32_t GetConnectionId() const { return static_cast<int32_t>(connectionId_); }
    uint32_t ConnectionNumber() const { return connectionId_; }
    int32_t GetTransferKind() const { return transferKind_.load(std::memory_order_relaxed); }
    void SetTransferKind(int32_t kind) { transferKind_.store(kind, std::memory_order_relaxed); }
    // The running (or last) transfer's progress; the Client's own before.
    int32_t GetProgress() const;
    int32_t LastError() const { return lastError_.load(std::memory_order_relaxed); }
    bool TimedOut() const { return timedOut_.load(std::memory_order_relaxed); }

    // Bind the application's callbacks to the running transfer: 0, or -1
    // (lastError 7) unless the transfer of that kind runs under that handle.
    int32_t SetTerminalCallBack(int32_t kind, uint32_t connectionId, uint32_t transferHandle,
                                TerminalCallBack callback, void* user);
    int32_t SetPlayDataCallBack(uint32_t connectionId, uint32_t transferHandle,
                                PlayDataCallBack callback, void* user);

    // The camera fields of the connection's record.
    CameraRequest CameraFromRecord() const;

    // Control operations; each makes one request and one reply wait.
    int32_t AddDevice();
    int32_t MdyDevice();
    int32_t DelDevice();
    int32_t AddPolicy(const RecordPolicy& policy);
    int32_t ModifyPolicyStatus(const PolicySelector& selector);
    int32_t DeletePolicy(const PolicySelector& selector);
    int32_t DeleteAllPolicies(const PolicySelector& selector);
    int32_t AddTask(const TaskRequest& task);
    int32_t DeleteTask(const TaskRequest& task);
    int32_t ModifyTask(const TaskRequest& task);
    int32_t QueryPolicies(const PolicyQuery& query, std::list<RecordPolicy>& result);
    int32_t QueryTasks(const TaskQuery& query, std::list<PolicyTaskInfo>& result);
    int32_t SendAlarm(const AlarmRequest& alarm);
    int32_t StopAlarm(const CameraSelector& selector);
    int32_t StopTask(const CameraSelector& selector);
    int32_t StopTaskEx(const CameraSelector& selector);
    int32_t QueryFiles(const FileQuery& query, std::list<VideoFileInfo>& result);
    int32_t DeleteFile(const FileRecord& file);
    int32_t ModifyFilePermission(const FileRecord& file);

    // Media transfers (src/transfer): a connection carries one transfer, run
    // by a worker thread from its start until its end or its stop. The start
    // operations write the new transfer's handle through handle.
    int32_t StartPlay(const MediaRequest& request, uint32_t* handle);
    int32_t StopPlay(const PlayControl& control);
    int32_t PlayPause(const PlayControl& control);
    int32_t PlayResume(const PlayControl& control);
    int32_t PlayJump(const PlayControl& control);
    int32_t PlaySlow(const PlayControl& control);
    int32_t PlayFast(const PlayControl& control);
    int32_t GetPlayPos(const PlayControl& control, uint32_t* position);
    int32_t StartDownload(const MediaRequest& request, const std::string& localPath,
                          uint32_t* handle);
    int32_t StopDownload(uint32_t transferTaskId);
    int32_t StartUpload(const UploadRequest& request, const std::string& path, uint32_t* handle);
    // Cuts a block into data messages and sends them: 0, or -1 when a send
    // failed. Called by the upload loop only, whose transfer's lock is left
    // during the pauses.
    int32_t SendUploadData(const uint8_t* data, uint32_t length, Transfer& transfer);
    int32_t StopUpload(uint32_t transferTaskId);
    int32_t StartBackup(const FileRecord& file, uint32_t* handle);
    int32_t StopBackup(uint32_t transferTaskId);
    // Writes the progress of the transfer and logs it with the clock.
    int32_t GetTransferPos(uint32_t* position);

  private:
    friend class Transfer;

    // Logs and sends the request; false (lastError 12, logged) when it
    // could not be sent.
    bool SendRequest(const std::string& request, const ControlTexts& texts);
    // The exchange of a request answered by a result code, and of one
    // answered by a document (null document: the result code to return).
    int32_t RunControl(const std::string& request, const ControlTexts& texts);
    int32_t RunDocumentExchange(const std::string& request, const ControlTexts& texts,
                                bool failureSetsLastError,
                                std::unique_ptr<TiXmlDocument>& document);
    int32_t RunFileExchange(const std::string& request, const ControlTexts& texts);
    int32_t UploadProgress(uint32_t* output);
    PlayControl WithTaskId(void* input) const;
    int32_t PrepareUpload(const UploadFileInfo& info, uint32_t* handle);

    // The start sequence shared by the four kinds (src/transfer/Start.cpp).
    int32_t RunStart(const std::string& request, const TransferTexts& texts, uint32_t* handle);
    // Pause, resume and jump wait up to 5 seconds for the server's
    // acknowledgement bit; slow and fast only send.
    int32_t RunPlayControl(const PlayControl& control, const char* sending, const char* failed,
                           uint32_t ackBit);
    // The worker's two loops (src/transfer/ReceiveLoop.cpp, UploadLoop.cpp),
    // run with the transfer's lock held.
    void ReceiveLoop(Transfer& transfer);
    void UploadLoop(Transfer& transfer);
    // Ends the transfer's worker: asks it to stop, waits, and when force is
    // set cancels one that has not ended; then cuts it off from this Client.
    void StopWorker(bool force);
    void DetachTransfer();
    void ClearControlFlag(uint32_t flag);

    enum ControlFlag : uint32_t {
        kNetworkBroken = 1u << 0,
        kAckStop = 1u << 1,
        kAckFast = 1u << 2,
        kAckSlow = 1u << 3,
        kAckPause = 1u << 4,
        kAckResume = 1u << 5,
        kAckJump = 1u << 6,
        kAckControls = kAckFast | kAckSlow | kAckPause | kAckResume | kAckJump,
    };
    struct Wait;
    // The framing shared by both reply waits; see ClientIo.cpp.
    enum class WaitEnd { Complete, Closed, HeadFailed, BodyFailed, TimedOut, Rejected };
    WaitEnd ReadReply(int32_t timeoutSeconds, Wait& wait);
    void SetControlFlag(uint32_t flag);

    void CloseConnection();
    // The transfer to bind to, or null (lastError 7).
    std::shared_ptr<Transfer> MayBind(int32_t kind, uint32_t connectionId, uint32_t transferHandle,
                                      bool hasCallback);
    void SetLastError(int32_t code) { lastError_.store(code, std::memory_order_relaxed); }
    int32_t Connect(const ConnectionRecord* record);

    std::unique_ptr<Connection> connection_;
    std::atomic<bool> timedOut_{false};
    std::atomic<bool> workerRunning_{false};
    std::atomic<bool> connected_{false};
    std::atomic<int32_t> transferKind_{kTransferNone};
    std::atomic<int32_t> lastError_{0};
    std::atomic<int64_t> lastActive_{0};
    platform::SystemTime createdAt_{};
    // The server's ClientId of the transfer; 0 until a start is accepted.
    std::atomic<uint32_t> transferTaskId_{0};
    uint32_t connectionId_ = 0;
    std::atomic<uint32_t> transferHandle_{0};
    std::atomic<int64_t> uploadTotalBytes_{1};  // never 0: the percentage divides by it
    std::atomic<int64_t> uploadSentBytes_{0};
    ConnectionRecord record_{};

    // The transfer started last (its worker may have ended); it is replaced
    // only by a later start. Set and reset under the command lock or by the
    // close that excludes every command.
    std::shared_ptr<Transfer> transfer_;
    // The download target or upload source opened before its start is
    // answered; it goes to the transfer when one starts.
    platform::File startFile_;

    platform::CriticalSection commandLock_;
    // Bit 0: network broken (never cleared); bits 1 to 6: acknowledgements of
    // stop, fast, slow, pause, resume and jump.
    std::atomic<uint32_t> controlFlags_{0};
    std::atomic<int32_t> progressValue_{0};
    platform::CriticalSection flagLock_;
    platform::CriticalSection closeLock_;
    // A control reply that could not be parsed is kept, not freed, until the
    // next one or the end of the Client.
    std::unique_ptr<TiXmlDocument> rejectedReply_;
};

}  // namespace kerrow
