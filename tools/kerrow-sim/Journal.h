// The journal: one JSON line per request that a client sent, with the
// decoded fields and the Code of the reply, and one per transfer that ended,
// so an application developer can see exactly what their application said.
#pragma once

#include <cstdint>
#include <fstream>
#include <mutex>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

namespace kerrow::sim {

using Fields = std::vector<std::pair<std::string, std::string>>;

struct JournalEntry {
    uint64_t connection = 0;
    int method = -1;       // -1: no Method could be read
    std::string kind;      // the request's name ("AddDevice", "Download", ...)
    std::string event;     // "request" or "transfer"
    Fields fields;         // the request's leaf elements, path then text
    bool replied = false;  // a reply (or notice) carrying code was sent
    int code = 0;          // the reply's Code
    std::string outcome;   // what the simulator did, in words
    uint64_t bytes = 0;    // transfers: media bytes moved
};

class Journal {
  public:
    // Empty path: journal nothing.
    bool Open(const std::string& path, std::string* error);
    void Write(const JournalEntry& entry);
    void Close();

  private:
    std::mutex mutex_;
    std::ofstream file_;
};

// The time of now as "YYYY-MM-DDTHH:MM:SS.mmm" in local time.
std::string JournalTime();

}  // namespace kerrow::sim
