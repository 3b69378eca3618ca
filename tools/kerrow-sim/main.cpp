// kerrow-sim: a storage server for testing applications built on the
// library. See README.md for the options, the fault rules and the journal.
#include <CLI/CLI.hpp>
#include <csignal>
#include <iostream>

#include "Simulator.h"

namespace {

// Splits "HOST:PORT"; false when it is not that.
bool SplitListen(const std::string& text, std::string* host, uint16_t* port) {
    size_t colon = text.rfind(':');
    if (colon == std::string::npos || colon == 0 || colon + 1 == text.size()) return false;
    unsigned long value = 0;
    for (size_t i = colon + 1; i < text.size(); ++i) {
        if (text[i] < '0' || text[i] > '9') return false;
        value = value * 10 + static_cast<unsigned long>(text[i] - '0');
        if (value > 65535) return false;
    }
    *host = text.substr(0, colon);
    *port = static_cast<uint16_t>(value);
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    CLI::App app{"kerrow-sim: a storage server that applications of the library test against"};
    std::string listen = "127.0.0.1:7000";
    kerrow::sim::Options options;
    app.add_option("--listen", listen, "HOST:PORT to listen on (port 0: any free port)")
        ->capture_default_str();
    app.add_option("--data", options.dataDir, "data directory (created when missing)")->required();
    app.add_flag("--seed", options.seed,
                 "on an empty data directory: cam-1..cam-3 with recordings");
    app.add_option("--faults", options.faultsFile, "JSON file of fault rules");
    app.add_option("--journal", options.journalFile,
                   "file to append JSON lines of every request to");
    CLI11_PARSE(app, argc, argv);
    if (!SplitListen(listen, &options.host, &options.port)) {
        std::cerr << "kerrow-sim: --listen wants HOST:PORT, got " << listen << std::endl;
        return 2;
    }

    // The signals are taken by a waiting thread, so shutdown runs outside a
    // signal handler.
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);

    options.log = &std::cout;
    kerrow::sim::Simulator simulator(options);
    std::string error;
    if (!simulator.Start(&error)) {
        std::cerr << "kerrow-sim: " << error << std::endl;
        return 1;
    }
    int received = 0;
    sigwait(&signals, &received);
    std::cout << "kerrow-sim: signal " << received << ", shutting down" << std::endl;
    simulator.Stop();
    return 0;
}
