// kerrowctl demo: starts the simulator in this process on a free loopback
// port with a seeded temporary data directory, walks every capability and
// prints one line per step; exits non-zero when a step failed.
#include "Demo.h"

#include <stdlib.h>

#include <filesystem>
#include <iostream>

namespace kerrowctl::demo {

void fail(const std::string& what) { throw std::runtime_error(what); }

void expect(bool condition, const std::string& what) {
    if (!condition) fail(what);
}

std::string expectCode(int code, const std::function<void()>& body) {
    try {
        body();
    } catch (const kerrow::Error& e) {
        if (e.code() != code) throw;
        return "result " + std::to_string(code) + " (" + e.meaning() + ")";
    }
    fail("expected result " + std::to_string(code) + " (" + kerrow::message(code) +
         "), got success");
}

bool Runner::step(const std::string& name, const Body& body) {
    const auto start = std::chrono::steady_clock::now();
    std::string detail;
    bool ok = true;
    try {
        detail = body();
    } catch (const std::exception& e) {
        ok = false;
        detail = e.what();
    }
    const auto ms = std::chrono::duration_cast<std::chrono::milliseconds>(
                        std::chrono::steady_clock::now() - start)
                        .count();
    if (!ok) ++failures_;
    steps_.push_back(json{{"step", name}, {"ok", ok}, {"ms", ms}, {"detail", detail}});
    if (!json_) {
        char head[96];
        std::snprintf(head, sizeof head, "%s %6lld ms  %-34s ", ok ? "  ok  " : "  FAIL",
                      static_cast<long long>(ms), name.c_str());
        std::cout << head << detail << std::endl;
    }
    return ok;
}

namespace {

struct DemoArgs {
    bool keep = false;
    bool verbose = false;
};

int runDemo(Context& ctx, const DemoArgs& a) {
    namespace fs = std::filesystem;
    std::string dir = (fs::temp_directory_path() / "kerrowctl-demo-XXXXXX").string();
    if (mkdtemp(dir.data()) == nullptr)
        throw Failure(kLocalFile, "cannot make a temporary directory");

    kerrow::sim::Options options;
    options.dataDir = dir + "/data";
    options.seed = true;
    options.log = a.verbose ? &std::cerr : nullptr;
    kerrow::sim::Simulator sim(options);
    Runner run(ctx.g.json);
    const auto started = std::chrono::steady_clock::now();
    uint16_t port = 0;
    run.step("simulator start", [&] {
        std::string error;
        if (!sim.Start(&error)) fail(error);
        port = sim.Port();
        return "listening on 127.0.0.1:" + std::to_string(port) + ", data in " + options.dataDir;
    });
    if (port != 0) {
        World w{ctx.library(), sim, port, dir, {}};
        cameraSteps(run, w);
        policySteps(run, w);
        alarmSteps(run, w);
        catalogueSteps(run, w);
        playSteps(run, w);
        transferSteps(run, w);
        faultSteps(run, w);
    }
    sim.Stop();
    if (!a.keep) {
        std::error_code ignored;
        fs::remove_all(dir, ignored);
    }
    const auto secs = std::chrono::duration<double>(std::chrono::steady_clock::now() - started);
    const int total = static_cast<int>(run.report().size());
    if (ctx.g.json) {
        std::cout << json{{"ok", run.failures() == 0},
                          {"steps", run.report()},
                          {"failed", run.failures()},
                          {"seconds", secs.count()}}
                         .dump(2)
                  << "\n";
    } else {
        std::cout << (run.failures() == 0 ? "demo passed: " : "demo FAILED: ")
                  << total - run.failures() << " of " << total << " steps ok in "
                  << static_cast<int>(secs.count() * 10) / 10.0 << " s"
                  << (a.keep ? ", files kept in " + dir : "") << "\n";
    }
    return run.failures() == 0 ? kOk : kDemoFailed;
}

}  // namespace

}  // namespace kerrowctl::demo

namespace kerrowctl {

void addDemoCommand(CLI::App& app, Context& ctx, Action& action) {
    static demo::DemoArgs a;
    auto* cmd = app.add_subcommand(
        "demo", "start kerrow-sim in this process and walk through every capability of the SDK");
    cmd->add_flag("--keep", a.keep, "keep the temporary directory (simulator data, downloads)");
    cmd->add_flag("--verbose", a.verbose, "print the simulator's line per request on stderr");
    cmd->callback([&] {
        action = [&] {
            const int status = demo::runDemo(ctx, a);
            if (status != kOk) throw Failure(status, "");  // the report said it
        };
    });
}

}  // namespace kerrowctl
