// One client connection: cuts what the client sends into framed messages,
// answers each control request from the store, and runs the transfer that a
// start request asks for (playback, download, backup or upload) on the same
// connection, as the library uses one connection per transfer. Runs on a
// thread of its own; every wait is bounded so a shutdown is noticed.
#pragma once

#include <atomic>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "Context.h"
#include "Socket.h"
#include "protocol/FrameReader.h"
#include "protocol/Methods.h"
#include "protocol/server/ServerRequest.h"

namespace kerrow::sim {

class Session {
  public:
    Session(Context& context, Socket socket, uint64_t number, std::string peer);
    void Run();
    // From another thread: ends the connection, so Run returns soon.
    void Interrupt() const { socket_.Shutdown(); }
    bool Done() const { return done_.load(); }
    uint64_t Number() const { return number_; }

  private:
    // The outcome of one request, for the log line and the journal.
    struct Outcome {
        bool replied = false;
        int code = 0;
        std::string text;
    };
    enum class Next { Stay, Close };
    // What a fault rule does to a reply in place of sending it plainly.
    Next SendReply(const std::string& reply, const std::optional<FaultRule>& fault,
                   Outcome* outcome);

    // Reading: Poll waits up to timeoutMs for one whole message and decodes
    // it into *request; false when none came. closed_ is set when the
    // connection ended.
    bool Poll(int timeoutMs, ServerRequest* request, DecodeStatus* status);
    bool Send(const std::string& bytes);
    void Record(const ServerRequest& request, const Outcome& outcome);

    Next Handle(const ServerRequest& request, DecodeStatus status);
    // The camera of a transfer start, for the fault rules.
    std::string TransferCamera(const ServerRequest& request) const;
    // Answers a request that cannot be carried out with a positive Code.
    Next Refuse(const ServerRequest& request, int code, const std::string& why);
    Outcome Control(const ServerRequest& request, std::string* reply);

    // Transfers (SessionStream.cpp, SessionUpload.cpp). Each returns when
    // the transfer is over; the connection is then closed.
    // A refused start leaves the connection open for another start.
    Next Stream(const ServerRequest& start, const std::optional<FaultRule>& fault);
    Next Backup(const ServerRequest& start, const std::optional<FaultRule>& fault);
    Next Upload(const ServerRequest& start, const std::optional<FaultRule>& fault);
    // The start reply, through the fault rule; false when the transfer
    // cannot go on (refused, or the connection was closed by the rule).
    bool AnswerStart(const ServerRequest& start, const std::optional<FaultRule>& fault, int code,
                     const std::string& text);
    // Media bytes of a transfer go through here: the stall and cut rules
    // count them.
    bool SendMedia(const std::string& bytes);
    // False for a request that names another transfer by its ClientId.
    bool OfThisTransfer(const ServerRequest& request) const;
    void Sleep(int ms);
    void EndTransfer(int method, const std::string& outcome, uint64_t bytes, bool replied);

    Context& context_;
    Socket socket_;
    uint64_t number_;
    std::string peer_;
    FrameReader reader_{kServerRequestLimits};
    std::atomic<bool> done_{false};
    bool closed_ = false;
    bool framingLost_ = false;             // length digits out of range: answer, then close
    std::optional<FaultRule> mediaFault_;  // stall or cut of the running transfer
    bool mediaFaultDone_ = false;
    uint64_t mediaBytes_ = 0;
    uint32_t clientId_ = 0;     // the running transfer's number
    std::string transferKind_;  // and its request's name
};

// The camera a request is about, for fault rules and the log; "" when none.
std::string RequestCamera(const ServerRequest& request);

}  // namespace kerrow::sim
