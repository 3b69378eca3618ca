// The storage-server simulator in a process: listens on TCP, answers every
// request of the library's protocol from its store, streams media, misbehaves
// on purpose when fault rules say so, and journals what it saw.
#pragma once

#include <cstdint>
#include <memory>
#include <ostream>
#include <string>

namespace kerrow::sim {

struct Options {
    std::string host = "127.0.0.1";
    uint16_t port = 0;            // 0: any free port
    std::string dataDir;          // created when missing
    bool seed = false;            // cam-1..cam-3 with recordings; only on an empty data dir
    std::string faultsFile;       // JSON fault rules; empty: none
    std::string journalFile;      // JSON lines of every request and reply; empty: none
    std::ostream* log = nullptr;  // one line per request; nullptr: silent
};

class Simulator {
  public:
    explicit Simulator(Options options);
    ~Simulator();  // Stop()
    Simulator(const Simulator&) = delete;
    Simulator& operator=(const Simulator&) = delete;

    bool Start(std::string* error);  // listens; false with a readable message
    uint16_t Port() const;           // the port it listens on
    bool SetFaults(const std::string& json,
                   std::string* error);  // replaces the rules at run time (same JSON as --faults)
    void Stop();                         // closes listener and connections, saves state; idempotent

  private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace kerrow::sim
