#include "SimHarness.h"

#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>
#include <thread>

#include "store/Store.h"
#include "store/TimeText.h"

namespace kerrow::simtest {

bool WaitUntil(const std::function<bool()>& cond, int ms) {
    auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(ms);
    while (!cond()) {
        if (std::chrono::steady_clock::now() > end) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}

std::string ReadFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

void WriteFile(const std::string& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary | std::ios::trunc) << bytes;
}

std::string Noise(size_t size, uint32_t seed) {
    std::mt19937 random(seed);
    std::string bytes(size, '\0');
    for (auto& c : bytes) c = static_cast<char>(random());
    return bytes;
}

TransferTime Time(int64_t wall) {
    std::string text = sim::FormatWallTime(wall);  // YYYY-MM-DD HH:MM:SS
    auto at = [&](size_t pos, size_t n) {
        return static_cast<int16_t>(std::stoi(text.substr(pos, n)));
    };
    return TransferTime{at(0, 4), at(5, 2), at(8, 2), at(11, 2), at(14, 2), at(17, 2)};
}

TransferTime Now(int secondsFromNow) { return Time(sim::WallClockNow() + secondsFromNow); }

std::string Name(const VideoFileInfo& file) { return std::string(file.fileId, 12); }

size_t Received::Size() {
    std::lock_guard<std::mutex> lock(mutex);
    return bytes.size();
}

bool Received::AwaitFinished(int ms) {
    std::unique_lock<std::mutex> lock(mutex);
    return changed.wait_for(lock, std::chrono::milliseconds(ms), [&] { return finished >= 0; });
}

void KERROW_CALL Received::OnData(uint32_t, uint32_t, uint32_t type, const uint8_t* data,
                                  uint32_t length, void* user) {
    auto* self = static_cast<Received*>(user);
    std::lock_guard<std::mutex> lock(self->mutex);
    self->bytes.append(reinterpret_cast<const char*>(data), length);
    self->contentTypes.push_back(type);
    self->changed.notify_all();
}

void KERROW_CALL Received::OnEnd(uint32_t, uint32_t, uint32_t finished, void* user) {
    auto* self = static_cast<Received*>(user);
    std::lock_guard<std::mutex> lock(self->mutex);
    self->finished = static_cast<int>(finished);
    self->changed.notify_all();
}

void SimTest::SetUp() {
    char dir[] = "simdata-XXXXXX";
    ASSERT_NE(nullptr, mkdtemp(dir));
    dataDir_ = dir;
    journal_ = dataDir_ + "/journal.jsonl";
    ASSERT_EQ(0, Kerrow_Init());
}

void SimTest::TearDown() {
    for (uint32_t connection : connections_) Kerrow_Disconnect(connection);
    connections_.clear();
    Kerrow_Release();
    StopSim();
    std::error_code ignored;
    std::filesystem::remove_all(dataDir_, ignored);
}

void SimTest::StartSim(bool seed, const std::string& faults) {
    sim::Options options;
    options.dataDir = dataDir_;
    options.seed = seed;
    options.journalFile = journal_;
    sim_ = std::make_unique<sim::Simulator>(options);
    std::string error;
    ASSERT_TRUE(sim_->Start(&error)) << error;
    if (!faults.empty()) {
        ASSERT_TRUE(sim_->SetFaults(faults, &error)) << error;
    }
}

void SimTest::StopSim() {
    if (sim_) sim_->Stop();
    sim_.reset();
}

std::string SimTest::StoreFile(const std::string& camera, const std::string& bytes, int seconds) {
    std::string error;
    auto store = sim::Store::Open(dataDir_, &error);
    EXPECT_TRUE(store) << error;
    if (!store) return "";
    CameraRequest cam;
    cam.guid = cam.cameraId = camera;
    store->AddCamera(cam, sim::WallClockNow());
    std::string path = store->NewUploadPath();
    WriteFile(path, bytes);
    UploadRequest request;
    request.Label = camera;
    int64_t now = sim::WallClockNow();
    request.StartTime = sim::FormatWallTime(now - seconds);
    request.EndTime = sim::FormatWallTime(now);
    FileEntry entry;
    EXPECT_EQ(sim::kStoreOk, store->AddUploadedFile(request, path, now, &entry));
    return sim::StoredFileName(entry.recordType, entry.fileId);
}

std::string SimTest::StoredBytes(const std::string& name) {
    return ReadFile(dataDir_ + "/media/" + name + ".y4m");
}

uint32_t SimTest::Connect(const std::string& camera) {
    ConnectionRecord record;
    std::memset(&record, 0, sizeof record);
    std::strcpy(record.serverAddress, "127.0.0.1");
    record.serverPort = sim_->Port();
    std::strncpy(record.cameraId, camera.c_str(), sizeof record.cameraId - 1);
    std::strncpy(record.cameraName, camera.c_str(), sizeof record.cameraName - 1);
    uint32_t connection = 0;
    EXPECT_EQ(0, Kerrow_Connect(&record, &connection));
    connections_.push_back(connection);
    return connection;
}

std::list<VideoFileInfo> SimTest::Files(uint32_t connection, const std::string& camera,
                                        uint16_t recordType) {
    std::list<VideoFileInfo> files;
    TransferTime open{0, 0, 0, 0, 0, 0};
    EXPECT_EQ(
        0, Kerrow_GetVideoFileList(connection, camera.c_str(), recordType, "", open, open, &files));
    return files;
}

std::string SimTest::Download(const std::string& name, int* result) {
    uint32_t connection = Connect("downloader");
    std::string path = dataDir_ + "/download-" + name + "-" + std::to_string(connection);
    uint32_t handle = 0;
    Received received;
    int started = Kerrow_StartVideoDownLoad_F(connection, name.c_str(), path.c_str(), &handle);
    if (result) *result = started;
    if (started != 0) return "";
    EXPECT_EQ(0, Kerrow_SetVideoDownLoadTerminalCallBack(connection, handle, &Received::OnEnd,
                                                         &received));
    // The end may have come before the callback was bound: the position says.
    EXPECT_TRUE(WaitUntil([&] {
        uint32_t position = 0;
        Kerrow_GetVideoDownLoadPos(connection, handle, &position);
        return position == 100;
    }));
    // After the end notice the worker has closed the link by itself; a stop
    // request would race that close, so the connection is just disconnected.
    Kerrow_Disconnect(connection);
    connections_.pop_back();
    return ReadFile(path);
}

}  // namespace kerrow::simtest
