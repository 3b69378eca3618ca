// The library against a simulator in the same process, over loopback: each
// test gets its own data directory (in the process's own working directory),
// an initialised library, connections to the simulator, and helpers that
// await transfers through the library's callbacks.
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <cstring>
#include <functional>
#include <list>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "KerrowSDK.h"
#include "Simulator.h"

namespace kerrow::simtest {

// Polls cond every 5 ms until it holds or ms have passed.
bool WaitUntil(const std::function<bool()>& cond, int ms = 10000);
std::string ReadFile(const std::string& path);
void WriteFile(const std::string& path, const std::string& bytes);
// Bytes that are not a repeating pattern, so a misplaced block shows.
std::string Noise(size_t size, uint32_t seed);
TransferTime Time(int64_t wall);  // a wall time of the store's clock
TransferTime Now(int secondsFromNow = 0);
std::string Name(const VideoFileInfo& file);  // the twelve-digit file name

// What the transfer callbacks saw.
struct Received {
    std::mutex mutex;
    std::condition_variable changed;
    std::string bytes;
    std::vector<uint32_t> contentTypes;
    int finished = -1;  // the terminal callback's finished value, -1: not called

    size_t Size();
    bool AwaitFinished(int ms = 20000);
    static void KERROW_CALL OnData(uint32_t, uint32_t, uint32_t type, const uint8_t* data,
                                   uint32_t length, void* user);
    static void KERROW_CALL OnEnd(uint32_t, uint32_t, uint32_t finished, void* user);
};

class SimTest : public ::testing::Test {
  public:
    const std::string& Dir() const { return dataDir_; }

  protected:
    void SetUp() override;
    void TearDown() override;

    // Starts the simulator on dataDir_; seed as --seed.
    void StartSim(bool seed, const std::string& faults = "");
    void StopSim();
    // Stores a file of the given bytes in the catalogue before the simulator
    // starts (as an upload to camera, of duration seconds); its name.
    std::string StoreFile(const std::string& camera, const std::string& bytes, int seconds = 1);
    // The stored bytes of a catalogue entry.
    std::string StoredBytes(const std::string& name);

    uint32_t Connect(const std::string& camera);
    std::list<VideoFileInfo> Files(uint32_t connection, const std::string& camera,
                                   uint16_t recordType);
    // Downloads a stored file on a connection of its own; the bytes written.
    std::string Download(const std::string& name, int* result = nullptr);

    std::string dataDir_;
    std::string journal_;
    std::unique_ptr<sim::Simulator> sim_;
    std::vector<uint32_t> connections_;
};

}  // namespace kerrow::simtest
