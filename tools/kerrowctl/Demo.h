// kerrowctl demo: a simulator in this process, then every capability of the
// SDK step by step, one report line per step.
#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <vector>

#include "Ctl.h"
#include "kerrow-sim/Simulator.h"

namespace kerrowctl::demo {

// A step's body returns its detail text and throws on failure.
using Body = std::function<std::string()>;

class Runner {
  public:
    explicit Runner(bool json) : json_(json) {}
    // Runs one step and reports it; false when it failed.
    bool step(const std::string& name, const Body& body);
    int failures() const { return failures_; }
    json report() const { return steps_; }

  private:
    bool json_;
    int failures_ = 0;
    json steps_ = json::array();
};

// What the steps share: the library, the simulator and a scratch directory.
struct World {
    kerrow::Library& library;
    kerrow::sim::Simulator& sim;
    uint16_t port;
    std::string dir;
    kerrow::FileInfo recording;  // the first seeded recording of cam-1

    kerrow::ConnectionSettings settings(const std::string& camera) const {
        kerrow::ConnectionSettings s;
        s.port = port;
        s.cameraId = camera;
        s.cameraName = camera;
        return s;
    }
    kerrow::Connection connect(const std::string& camera) const {
        return kerrow::Connection(library, settings(camera));
    }
};

// Throws a plain failure of a step.
[[noreturn]] void fail(const std::string& what);
void expect(bool condition, const std::string& what);
// Runs body and expects it to fail with the given result code.
std::string expectCode(int code, const std::function<void()>& body);

// The capability walks, each a few steps.
void cameraSteps(Runner& run, World& w);
void policySteps(Runner& run, World& w);
void alarmSteps(Runner& run, World& w);
void catalogueSteps(Runner& run, World& w);
void playSteps(Runner& run, World& w);
void transferSteps(Runner& run, World& w);
void faultSteps(Runner& run, World& w);

}  // namespace kerrowctl::demo
