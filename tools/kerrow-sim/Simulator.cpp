#include "Simulator.h"

#include <chrono>
#include <filesystem>
#include <fstream>
#include <list>
#include <mutex>
#include <sstream>
#include <thread>

#include "Context.h"
#include "Session.h"
#include "Socket.h"
#include "store/TimeText.h"

namespace kerrow::sim {

struct Simulator::Impl {
    struct Connection {
        std::unique_ptr<Session> session;
        std::thread thread;
    };

    Options options;
    Context context;
    std::unique_ptr<Store> store;
    FaultRules faults;
    Journal journal;
    Socket listener;
    uint16_t port = 0;
    bool started = false;
    std::thread acceptThread;
    std::thread tickThread;
    std::mutex connectionsMutex;
    std::list<Connection> connections;
    uint64_t accepted = 0;  // accept thread only

    void AcceptLoop();
    void TickLoop();
    void Reap(bool all);
};

void Simulator::Impl::AcceptLoop() {
    while (!context.stopping.load()) {
        std::string peer;
        Socket socket = listener.Accept(200, &peer);
        Reap(false);
        if (!socket.Valid()) continue;
        auto session = std::make_unique<Session>(context, std::move(socket), ++accepted, peer);
        Session* raw = session.get();
        std::lock_guard<std::mutex> lock(connectionsMutex);
        connections.push_back(Connection{std::move(session), std::thread()});
        try {
            connections.back().thread = std::thread([raw] { raw->Run(); });
        } catch (const std::system_error&) {
            // No thread for it: the client sees its connection closed.
            context.Log("conn " + std::to_string(accepted) + " refused: no thread");
            connections.pop_back();
        }
    }
}

void Simulator::Impl::TickLoop() {
    // Recordings started by alarms and manual recording end on time.
    while (!context.stopping.load()) {
        int finished = store->Tick(WallClockNow());
        if (finished > 0) context.Log("recordings finished: " + std::to_string(finished));
        for (int i = 0; i < 10 && !context.stopping.load(); ++i)
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
}

void Simulator::Impl::Reap(bool all) {
    std::list<Connection> finished;
    {
        std::lock_guard<std::mutex> lock(connectionsMutex);
        for (auto it = connections.begin(); it != connections.end();) {
            if (all || it->session->Done()) {
                if (all) it->session->Interrupt();
                finished.splice(finished.end(), connections, it++);
            } else {
                ++it;
            }
        }
    }
    for (auto& connection : finished)
        if (connection.thread.joinable()) connection.thread.join();
}

Simulator::Simulator(Options options) : impl_(std::make_unique<Impl>()) {
    impl_->options = std::move(options);
}

Simulator::~Simulator() { Stop(); }

bool Simulator::Start(std::string* error) {
    std::string ignored;
    if (!error) error = &ignored;
    Impl& s = *impl_;
    if (s.started) {
        *error = "the simulator is already running";
        return false;
    }
    if (s.options.dataDir.empty()) {
        *error = "no data directory given";
        return false;
    }
    std::error_code code;
    std::filesystem::create_directories(s.options.dataDir, code);
    if (code) {
        *error = "cannot create the data directory " + s.options.dataDir + ": " + code.message();
        return false;
    }
    if (!s.options.faultsFile.empty()) {
        std::ifstream in(s.options.faultsFile, std::ios::binary);
        std::stringstream text;
        text << in.rdbuf();
        if (!in) {
            *error = "cannot read the fault rules " + s.options.faultsFile;
            return false;
        }
        if (!s.faults.Set(text.str(), error)) {
            *error = s.options.faultsFile + ": " + *error;
            return false;
        }
    }
    s.store = Store::Open(s.options.dataDir, error);
    if (!s.store) return false;
    if (s.options.seed) {
        StoreResult seeded = s.store->Seed(WallClockNow());
        if (seeded == kStoreNotEmpty) {
            if (s.options.log)
                *s.options.log << "data directory not empty: not seeded" << std::endl;
        } else if (seeded != kStoreOk) {
            *error = "seeding the data directory failed";
            s.store.reset();
            return false;
        }
    }
    if (!s.journal.Open(s.options.journalFile, error)) {
        s.store.reset();
        return false;
    }
    s.listener = Socket::Listen(s.options.host, s.options.port, error);
    if (!s.listener.Valid()) {
        s.journal.Close();
        s.store.reset();
        return false;
    }
    s.port = s.listener.LocalPort();
    s.context.store = s.store.get();
    s.context.faults = &s.faults;
    s.context.journal = &s.journal;
    s.context.dataDir = s.options.dataDir;
    s.context.SetLog(s.options.log);
    s.context.stopping.store(false);
    s.started = true;
    s.acceptThread = std::thread([&s] { s.AcceptLoop(); });
    s.tickThread = std::thread([&s] { s.TickLoop(); });
    s.context.Log("kerrow-sim listening on " + s.options.host + ":" + std::to_string(s.port) +
                  ", data in " + s.options.dataDir);
    return true;
}

uint16_t Simulator::Port() const { return impl_->port; }

bool Simulator::SetFaults(const std::string& json, std::string* error) {
    return impl_->faults.Set(json, error);
}

void Simulator::Stop() {
    Impl& s = *impl_;
    if (!s.started) return;
    s.started = false;
    s.context.stopping.store(true);
    if (s.acceptThread.joinable()) s.acceptThread.join();
    s.listener.Close();
    s.Reap(true);
    if (s.tickThread.joinable()) s.tickThread.join();
    s.journal.Close();
    s.store.reset();  // the store's state is on disk once it is closed
    s.context.Log("kerrow-sim stopped");
}

}  // namespace kerrow::sim
