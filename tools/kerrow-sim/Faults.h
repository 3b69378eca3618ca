// Fault rules: the simulator misbehaving on purpose. A rule matches a request
// by Method and, optionally, by camera and by connection number, and says
// what to do instead of (or on the way to) the proper reply. The rules come
// from a JSON document (the README shows the format); the first rule that
// matches a request decides.
#pragma once

#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace kerrow::sim {

enum class FaultAction {
    Delay,        // send the proper reply after ms
    NoReply,      // read the request, answer nothing
    CloseBefore,  // close the connection instead of replying
    CloseMidway,  // send the first half of the reply, then close
    BadLength,    // the reply with other length digits (digits)
    NotXml,       // a framed reply whose text is not XML
    Code,         // the proper reply shape with Code code (no effect on the store)
    Stall,        // transfer: after afterBytes of media, send nothing for ms
    Cut,          // transfer: after afterBytes of media, close the connection
};

struct FaultRule {
    int method = -1;          // -1: any Method
    std::string camera;       // empty: any camera
    uint64_t connection = 0;  // 0: any connection; n: the n-th accepted
    int times = -1;           // how many requests it may still hit; -1: no limit
    FaultAction action = FaultAction::Delay;
    int ms = 0;                       // Delay, Stall
    std::string digits = "99999999";  // BadLength: eight characters
    int code = 1;                     // Code
    uint64_t afterBytes = 0;          // Stall, Cut
};

const char* FaultActionName(FaultAction action);

// Parses the rules; false with a readable message (the old rules stay).
bool ParseFaultRules(const std::string& json, std::vector<FaultRule>* rules, std::string* error);

class FaultRules {
  public:
    bool Set(const std::string& json, std::string* error);
    // The rule that applies to a request, counting it against the rule's
    // times; nothing when the simulator behaves.
    std::optional<FaultRule> Match(int method, const std::string& camera, uint64_t connection);

  private:
    std::mutex mutex_;
    std::vector<FaultRule> rules_;
};

}  // namespace kerrow::sim
