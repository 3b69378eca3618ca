#include "Store.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include "StoreImpl.h"
#include "TestPattern.h"
#include "TimeText.h"

namespace kerrow::sim {

namespace {

// Record types, cron types and statuses of policies and tasks are stored as
// the requests carry them. Recording tasks (alarm and manual) have no policy.
const char* const kSchema = R"sql(
PRAGMA journal_mode = WAL;
PRAGMA synchronous = NORMAL;
CREATE TABLE IF NOT EXISTS cameras (
    guid TEXT PRIMARY KEY, camera_id TEXT, name TEXT, camera_type INTEGER,
    encoder_name TEXT, encoder_type INTEGER, encoder_ip TEXT, encoder_dns TEXT,
    encoder_by_dns INTEGER, encoder_port INTEGER, encoder_username TEXT,
    encoder_password TEXT, encoder_channel INTEGER, forward_ip TEXT,
    forward_port INTEGER, description TEXT, pre_record INTEGER, updated INTEGER);
CREATE TABLE IF NOT EXISTS policies (
    id INTEGER PRIMARY KEY AUTOINCREMENT, camera TEXT NOT NULL,
    record_type INTEGER, cron_type INTEGER, status INTEGER,
    created INTEGER, updated INTEGER);
CREATE TABLE IF NOT EXISTS tasks (
    id INTEGER PRIMARY KEY AUTOINCREMENT, policy_id INTEGER, camera TEXT NOT NULL,
    start_year_month TEXT DEFAULT '', start_day INTEGER DEFAULT 0,
    day_of_week INTEGER DEFAULT 0, start_time TEXT DEFAULT '',
    end_year_month TEXT DEFAULT '', end_day INTEGER DEFAULT 0,
    end_time TEXT DEFAULT '', status INTEGER DEFAULT 0,
    record_type INTEGER DEFAULT 0, alarm_type TEXT DEFAULT '',
    alarm_time TEXT DEFAULT '', rec_start INTEGER DEFAULT 0,
    rec_end INTEGER DEFAULT 0, file_id INTEGER DEFAULT 0, file_size INTEGER DEFAULT 0);
CREATE INDEX IF NOT EXISTS tasks_by_policy ON tasks (policy_id);
CREATE TABLE IF NOT EXISTS files (
    id INTEGER PRIMARY KEY AUTOINCREMENT, camera TEXT NOT NULL,
    record_type INTEGER, alarm_type TEXT, alarm_time TEXT, size INTEGER,
    start INTEGER, end INTEGER, status INTEGER, permission INTEGER,
    media TEXT, task_id INTEGER, description TEXT, uploader TEXT, label TEXT,
    opr_id TEXT, control_center TEXT, media_type INTEGER, encoder_type INTEGER);
CREATE INDEX IF NOT EXISTS files_by_camera ON files (camera, start);
)sql";

// Removes what an interrupted write or upload left behind.
void RemoveLeftovers(const std::string& dir, const std::string& suffix) {
    DIR* d = opendir(dir.c_str());
    if (d == nullptr) {
        return;
    }
    while (dirent* e = readdir(d)) {
        std::string name = e->d_name;
        if (name.size() > suffix.size() &&
            name.compare(name.size() - suffix.size(), suffix.size(), suffix) == 0) {
            unlink((dir + "/" + name).c_str());
        }
    }
    closedir(d);
}

}  // namespace

bool MakeDirectory(const std::string& path) {
    return mkdir(path.c_str(), 0755) == 0 || errno == EEXIST;
}

std::string StoredFileName(int16_t recordType, uint32_t fileId) {
    char name[32];
    std::snprintf(name, sizeof name, "%d%011u", recordType, fileId);
    return name;
}

Store::Impl::~Impl() {
    if (lockFd >= 0) {
        close(lockFd);
    }
}

Store::Store(std::unique_ptr<Impl> impl) : impl_(std::move(impl)) {}

Store::~Store() = default;

std::unique_ptr<Store> Store::Open(const std::string& dataDir, std::string* error) {
    std::string ignored;
    std::string& why = error != nullptr ? *error : ignored;
    auto impl = std::make_unique<Impl>();
    impl->dir = dataDir;
    impl->mediaDir = dataDir + "/media";
    impl->incomingDir = dataDir + "/incoming";
    for (const std::string* dir : {&impl->dir, &impl->mediaDir, &impl->incomingDir}) {
        if (!MakeDirectory(*dir)) {
            why = *dir + ": cannot create the directory";
            return nullptr;
        }
    }
    // One store at a time on a data directory: two would both finish the
    // same recordings.
    impl->lockFd = open((dataDir + "/store.lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644);
    if (impl->lockFd < 0 || flock(impl->lockFd, LOCK_EX | LOCK_NB) != 0) {
        why = dataDir + ": the data directory is in use by another store";
        return nullptr;
    }
    if (!impl->db.Open(dataDir + "/store.db", &why)) {
        return nullptr;
    }
    if (!impl->db.Execute(kSchema)) {
        why = "store.db: " + impl->db.LastError();
        return nullptr;
    }
    RemoveLeftovers(impl->mediaDir, ".tmp");
    RemoveLeftovers(impl->incomingDir, ".part");
    return std::unique_ptr<Store>(new Store(std::move(impl)));
}

bool Store::Impl::CameraExistsLocked(const std::string& guid) {
    Statement q(db, "SELECT 1 FROM cameras WHERE guid = ?1");
    q.Bind(1, guid);
    return q.Step();
}

bool Store::Impl::WriteCameraLocked(const CameraRequest& c, int64_t now) {
    Statement q(db,
                "INSERT OR REPLACE INTO cameras VALUES (?1, ?2, ?3, ?4, ?5, ?6, ?7, ?8, ?9, ?10, "
                "?11, ?12, ?13, ?14, ?15, ?16, ?17, ?18)");
    q.Bind(1, c.guid).Bind(2, c.cameraId).Bind(3, c.cameraName).Bind(4, c.cameraType);
    q.Bind(5, c.encoderName).Bind(6, c.encoderType).Bind(7, c.encoderIp).Bind(8, c.encoderDns);
    q.Bind(9, c.encoderByDns).Bind(10, c.encoderPort).Bind(11, c.encoderUsername);
    q.Bind(12, c.encoderPassword).Bind(13, c.encoderChannel).Bind(14, c.forwardServerIp);
    q.Bind(15, c.forwardServerPort).Bind(16, c.cameraDesc).Bind(17, c.preRecord).Bind(18, now);
    return q.Run();
}

StoreResult Store::AddCamera(const CameraRequest& camera, int64_t now) {
    if (camera.guid.empty()) {
        return kBadRequest;
    }
    std::lock_guard<std::mutex> lock(impl_->mu);
    return impl_->WriteCameraLocked(camera, now) ? kStoreOk : kStorageFailure;
}

StoreResult Store::ModifyCamera(const CameraRequest& camera, int64_t now) {
    std::lock_guard<std::mutex> lock(impl_->mu);
    if (!impl_->CameraExistsLocked(camera.guid)) {
        return kUnknownCamera;
    }
    return impl_->WriteCameraLocked(camera, now) ? kStoreOk : kStorageFailure;
}

StoreResult Store::DeleteCamera(const std::string& guid, int64_t now) {
    std::lock_guard<std::mutex> lock(impl_->mu);
    if (!impl_->CameraExistsLocked(guid)) {
        return kUnknownCamera;
    }
    for (int16_t type : {kRecordAlarm, kRecordManual}) {
        StoreResult r = impl_->StopRecordingLocked(guid, type, now);
        if (r != kStoreOk) {
            return r;
        }
    }
    Transaction t(impl_->db);
    Statement tasks(impl_->db, "DELETE FROM tasks WHERE camera = ?1");
    Statement policies(impl_->db, "DELETE FROM policies WHERE camera = ?1");
    Statement camera(impl_->db, "DELETE FROM cameras WHERE guid = ?1");
    bool ok = t.Began() && tasks.Bind(1, guid).Run() && policies.Bind(1, guid).Run() &&
              camera.Bind(1, guid).Run() && t.Commit();
    return ok ? kStoreOk : kStorageFailure;
}

std::vector<CameraRequest> Store::Cameras() {
    std::lock_guard<std::mutex> lock(impl_->mu);
    std::vector<CameraRequest> out;
    Statement q(impl_->db, "SELECT * FROM cameras ORDER BY guid");
    while (q.Step()) {
        CameraRequest c;
        c.guid = q.Text(0);
        c.cameraId = q.Text(1);
        c.cameraName = q.Text(2);
        c.cameraType = static_cast<int32_t>(q.Int(3));
        c.encoderName = q.Text(4);
        c.encoderType = static_cast<int32_t>(q.Int(5));
        c.encoderIp = q.Text(6);
        c.encoderDns = q.Text(7);
        c.encoderByDns = static_cast<uint8_t>(q.Int(8));
        c.encoderPort = static_cast<uint32_t>(q.Int(9));
        c.encoderUsername = q.Text(10);
        c.encoderPassword = q.Text(11);
        c.encoderChannel = static_cast<uint16_t>(q.Int(12));
        c.forwardServerIp = q.Text(13);
        c.forwardServerPort = static_cast<uint32_t>(q.Int(14));
        c.cameraDesc = q.Text(15);
        c.preRecord = static_cast<uint16_t>(q.Int(16));
        out.push_back(c);
    }
    return out;
}

StoreResult Store::Seed(int64_t now) {
    std::lock_guard<std::mutex> lock(impl_->mu);
    Statement count(impl_->db,
                    "SELECT (SELECT COUNT(*) FROM cameras) + (SELECT COUNT(*) FROM files) + "
                    "(SELECT COUNT(*) FROM policies) + (SELECT COUNT(*) FROM tasks)");
    if (!count.Step()) {
        return kStorageFailure;
    }
    if (count.Int(0) != 0) {
        return kStoreNotEmpty;
    }
    constexpr uint32_t kSeconds = 10;
    for (int c = 0; c < 3; ++c) {
        CameraRequest camera;
        camera.guid = camera.cameraId = "cam-" + std::to_string(c + 1);
        camera.cameraName = "Camera " + std::to_string(c + 1);
        camera.encoderIp = "127.0.0.1";
        if (!impl_->WriteCameraLocked(camera, now)) {
            return kStorageFailure;
        }
        // Three recordings 20 minutes apart, the cameras 2 minutes apart,
        // the last one ending about 15 minutes before now.
        for (int k = 0; k < 3; ++k) {
            NewFile file;
            file.camera = camera.guid;
            file.recordType = kRecordScheduled;
            file.start = now - 3600 + 60 + k * 1200 + c * 120;
            file.end = file.start + kSeconds;
            file.alarmDatetime = FormatWallTime(file.start);
            file.extension = ".y4m";
            auto produce = [&](const std::string& path) {
                std::string error;
                return WritePattern(path, camera.guid, kSeconds, &error);
            };
            Transaction t(impl_->db);
            StoredFile added;
            StoreResult r =
                t.Began() ? impl_->AddFileLocked(file, produce, &added) : kStorageFailure;
            if (r != kStoreOk) {
                return r;
            }
            if (!t.Commit()) {
                unlink(added.path.c_str());
                return kStorageFailure;
            }
        }
    }
    return kStoreOk;
}

}  // namespace kerrow::sim
