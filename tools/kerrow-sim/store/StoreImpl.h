// What the parts of the store share: the database, the one mutex and the
// helpers that run with the mutex held (their names end in Locked).
#pragma once

#include <cstdint>
#include <functional>
#include <limits>
#include <mutex>
#include <string>

#include "Database.h"
#include "Store.h"

namespace kerrow::sim {

// Open bounds of a time span.
constexpr int64_t kNoEarliest = std::numeric_limits<int64_t>::min();
constexpr int64_t kNoLatest = std::numeric_limits<int64_t>::max();

// What a new catalogue entry is made of, besides its id.
struct NewFile {
    std::string camera;
    int16_t recordType = 0;
    std::string alarmType;
    std::string alarmDatetime;
    int64_t start = 0;
    int64_t end = 0;
    int64_t taskId = 0;
    std::string extension;  // of the media file name, "." included
    // Description of an upload.
    std::string description, uploader, label, oprId, controlCenter;
    int64_t mediaType = 0, encoderType = 0;
};

class Store::Impl {
  public:
    ~Impl();
    std::mutex mu;
    int lockFd = -1;  // "store.lock", locked while the store is open
    Database db;
    std::string dir;
    std::string mediaDir;
    std::string incomingDir;
    uint64_t uploadCounter = 0;

    bool CameraExistsLocked(const std::string& guid);
    // Inserts or replaces the camera row.
    bool WriteCameraLocked(const CameraRequest& camera, int64_t now);
    // Within the caller's transaction: adds a catalogue entry whose media
    // `produce` writes at the path it is given (a temporary name, renamed to
    // the final one when produce succeeded). On failure nothing remains; if
    // the caller's commit then fails, the caller removes out->path.
    StoreResult AddFileLocked(const NewFile& file,
                              const std::function<bool(const std::string&)>& produce,
                              StoredFile* out);
    // Ends recording task taskId at `end`: writes its test pattern, adds
    // its file and marks the task finished, in one transaction.
    StoreResult FinishRecordingLocked(int64_t taskId, int64_t end);
    // Ends the camera's running recording of recordType at now.
    StoreResult StopRecordingLocked(const std::string& camera, int16_t recordType, int64_t now);
    StoreResult StartRecordingLocked(const std::string& camera, int16_t recordType,
                                     const std::string& alarmType, const std::string& alarmDatetime,
                                     uint32_t seconds, int64_t now, uint32_t* taskId);
};

// Reads the columns of the catalogue query below into a file entry.
constexpr const char* kFileColumns =
    "id, camera, alarm_type, alarm_time, record_type, size, start, end, status, "
    "permission, media";
void ReadFileEntry(const Statement& row, StoredFile* out, const std::string& mediaDir);

// Creates the directory when missing; false when it cannot be made.
bool MakeDirectory(const std::string& path);

}  // namespace kerrow::sim
