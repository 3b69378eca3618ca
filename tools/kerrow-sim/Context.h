// What every connection of the simulator shares: the store, the fault rules,
// the journal, the request log and the shutdown mark.
#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>
#include <ostream>
#include <string>

#include "Faults.h"
#include "Journal.h"
#include "store/Store.h"

namespace kerrow::sim {

// Codes of the simulator's own refusals, after the store's (Store.h).
enum SimResult : int32_t {
    kUnknownMethod = 9,      // a Method that names no request
    kNoSuchTransfer = 10,    // a transfer request on a connection without that transfer
    kUploadIncomplete = 11,  // the upload ended with other than the announced size
};

struct Context {
    Store* store = nullptr;
    FaultRules* faults = nullptr;
    Journal* journal = nullptr;
    std::string dataDir;
    std::atomic<bool> stopping{false};
    std::atomic<uint32_t> nextClientId{1};

    // One line of the request log; nothing when there is no log.
    void Log(const std::string& line);
    void SetLog(std::ostream* log) { log_ = log; }

    uint32_t NewClientId();

  private:
    std::mutex logMutex_;
    std::ostream* log_ = nullptr;
};

}  // namespace kerrow::sim
