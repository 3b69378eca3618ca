// Which Client the calling thread works for, when it is a transfer worker.
//
// The application's callbacks run on the worker thread, and an application
// may stop its transfer or even disconnect from inside one. A Client that is
// destroyed on its own worker thread forgets the mark here; the worker looks
// at it after every callback and, finding its Client gone, ends the thread at
// once (as a terminated thread ends) without touching the Client again.
#pragma once

#include "platform/Thread.h"

namespace kerrow {

class Client;

namespace transfer {

inline thread_local const Client* t_workerClient = nullptr;
inline thread_local bool t_clientGone = false;

// Marks the calling thread as the worker of client for its lifetime.
class WorkerScope {
  public:
    explicit WorkerScope(const Client* client) { t_workerClient = client; }
    ~WorkerScope() { t_workerClient = nullptr; }
    WorkerScope(const WorkerScope&) = delete;
    WorkerScope& operator=(const WorkerScope&) = delete;
};

// True on the worker thread of client (inside its callbacks, too).
inline bool IsWorkerOf(const Client* client) { return t_workerClient == client; }

// Called by a Client destroyed on its own worker thread.
inline void ForgetWorker() {
    t_workerClient = nullptr;
    t_clientGone = true;
}

// After a callback: the worker of a Client that was destroyed meanwhile ends
// here. Does nothing on any other thread.
inline void LeaveIfClientGone() {
    if (t_clientGone) throw platform::ThreadTerminated();
}

}  // namespace transfer
}  // namespace kerrow
