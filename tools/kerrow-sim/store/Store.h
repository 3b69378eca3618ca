// The simulator's state: registered cameras, record policies with their
// schedule tasks, recording tasks started by alarms and manual recording, and
// the catalogue of stored files with their media bytes.
//
// Everything lives under one data directory: the SQLite database "store.db"
// (WAL journal), the media files under "media/", one file per catalogue
// entry, named by its twelve-digit stored file name plus ".y4m" (uploads
// keep whatever bytes were uploaded), and uploads in progress under
// "incoming/". A store opened again on the same directory finds everything
// as it was left.
//
// Thread safety: every public member function may be called from any number
// of threads at once; one mutex serialises them, so each call is atomic
// against the others. Media files are written completely (under a temporary
// name, then renamed) before their catalogue entry appears, and a deleted
// file's bytes stay readable through descriptors opened before the deletion.
//
// Times: an int64_t "wall time" counts seconds since 1970-01-01 00:00:00 of
// the clock that the date-time texts name ("YYYY-MM-DD HH:MM:SS"); no time
// zone is applied. See TimeText.h for the conversions and WallClockNow().
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "protocol/Records.h"

namespace kerrow::sim {

// The outcome of a store operation. Every value is the Code of the reply
// that answers the request: 0 success, positive a refusal.
enum StoreResult : int32_t {
    kStoreOk = 0,
    kBadRequest = 1,      // a field is empty or out of range
    kUnknownCamera = 2,   // the camera is not registered
    kUnknownPolicy = 3,   // no policy has this id
    kUnknownTask = 4,     // no schedule task has this id
    kUnknownFile = 5,     // no stored file has this id and record type
    kProtectedFile = 6,   // the file's permission forbids its deletion
    kStoreNotEmpty = 7,   // Seed on a data directory that holds state
    kStorageFailure = 8,  // the database or the media directory failed
};

// Record types of recordings and files.
constexpr int16_t kRecordScheduled = 1;  // scheduled recording (the seed's files)
constexpr int16_t kRecordAlarm = 2;      // recording started by an alarm
constexpr int16_t kRecordManual = 3;     // manual recording
constexpr int16_t kRecordUploaded = 4;   // file stored by an upload

// Task status in task query results of recording tasks. Schedule tasks
// report the status stored with the task.
constexpr int16_t kTaskRecording = 1;
constexpr int16_t kTaskFinished = 2;

// Status given to a new policy (the value the add-policy request carries).
constexpr uint16_t kNewPolicyStatus = 3;

// Permission of a stored file.
constexpr int16_t kFileDeletable = 0;
constexpr int16_t kFileProtected = 1;

// Longest recording that an alarm or manual recording makes (seconds); a
// longer or zero MaxRecordTime is bounded to this / replaced by the default.
constexpr uint32_t kMaxRecordingSeconds = 120;
constexpr uint32_t kDefaultRecordingSeconds = 30;

// Largest file number (FileID): stored file names carry it in eleven digits
// and the client converts them to a signed 32-bit number.
constexpr uint32_t kMaxFileId = 2147483647u;

// A catalogue entry with the path of its media bytes.
struct StoredFile {
    FileEntry entry;
    std::string path;  // the media bytes (entry.fileSize bytes), under the data directory
};

class Store {
  public:
    // Opens (creating when needed) the store in dataDir. nullptr on failure,
    // with the reason in *error when error is not null; a data directory
    // that another open store (of any process) holds is refused.
    static std::unique_ptr<Store> Open(const std::string& dataDir, std::string* error);
    ~Store();
    Store(const Store&) = delete;
    Store& operator=(const Store&) = delete;

    // ---- Cameras (keyed by guid) ----------------------------------------
    // Registers the camera; a camera already registered under this guid has
    // its fields replaced (registering twice is not an error). Empty guid:
    // kBadRequest.
    StoreResult AddCamera(const CameraRequest& camera, int64_t now);
    // Replaces the fields of a registered camera; kUnknownCamera otherwise.
    StoreResult ModifyCamera(const CameraRequest& camera, int64_t now);
    // Removes the camera, its policies with their schedule tasks, and its
    // recording tasks; a running recording is finished into a file first.
    // Stored files stay in the catalogue.
    StoreResult DeleteCamera(const std::string& guid, int64_t now);
    // The registered cameras in guid order.
    std::vector<CameraRequest> Cameras();

    // ---- Record policies and schedule tasks -----------------------------
    // Adds a policy of a registered camera with the request's tasks, status
    // kNewPolicyStatus; the new policy id in *policyId. Record type 2 stores
    // cron type 0.
    StoreResult AddPolicy(const AddPolicyRequest& request, int64_t now, uint32_t* policyId);
    // Sets the policy's status (selector.policyStatus) and update time.
    StoreResult ModifyPolicy(const PolicySelector& selector, int64_t now);
    // Deletes policy selector.policyId and its schedule tasks.
    StoreResult DeletePolicy(const PolicySelector& selector);
    // Deletes every policy of camera selector.cameraGuid (kUnknownCamera when
    // the camera is not registered; none to delete is success).
    StoreResult DeleteAllPolicies(const PolicySelector& selector);
    // Policies in id order with their tasks in id order. An empty cameraGuid
    // matches every camera; a recordType of 0 or below matches every type.
    StoreResult QueryPolicies(const PolicyQuery& query, std::vector<PolicyEntry>* out);

    // Adds a schedule task to policy request.policyId; id in *taskId.
    StoreResult AddTask(const TaskRequest& request, int64_t now, uint32_t* taskId);
    // Replaces the schedule fields of task request.taskId (status kept).
    StoreResult ModifyTask(const TaskRequest& request, int64_t now);
    // Deletes schedule task request.taskId. Recording tasks are not edited
    // this way: their ids give kUnknownTask.
    StoreResult DeleteTask(const TaskRequest& request, int64_t now);
    // Schedule tasks and recording tasks, in task id order. An empty
    // cameraGuid matches every camera; recordType -1 and cronType -1 match
    // every value. Recording tasks have cron type 0, day of week 0, their
    // real start and (planned or actual) end, and once finished the stored
    // file name and size. Schedule tasks carry their policy's record and
    // cron type and the schedule's start and end as date-time texts.
    StoreResult QueryTasks(const TaskQuery& query, std::vector<TaskRecord>* out);

    // ---- Alarms and manual recording ------------------------------------
    // Starts (or, when an alarm recording of the camera runs, extends to
    // now + MaxRecordTime) a recording task of record type 2 for
    // alarm.maxRecordTime seconds (0: kDefaultRecordingSeconds, bounded by
    // kMaxRecordingSeconds). An unregistered camera is registered from the
    // alarm's camera fields. The recording task id in *taskId (may be null).
    StoreResult RaiseAlarm(const AlarmRequest& alarm, int64_t now, uint32_t* taskId);
    // Ends the camera's running alarm recording now (or when it was due, if
    // that is earlier), storing its file. Nothing running: success.
    // Unregistered camera: kUnknownCamera.
    StoreResult StopAlarm(const CameraSelector& camera, int64_t now);
    // Manual recording (the record type 3 form of the add-policy request):
    // as RaiseAlarm with record type 3, for request.maxRecordTime seconds,
    // of a registered camera only.
    StoreResult StartManualRecording(const AddPolicyRequest& request, int64_t now,
                                     uint32_t* taskId);
    // As StopAlarm, for the camera's running manual recording.
    StoreResult StopManualRecording(const CameraSelector& camera, int64_t now);
    // Finishes every recording whose end has come (end <= now): writes its
    // media, adds it to the catalogue (deletable) and marks the task
    // finished. Returns how many finished.
    int Tick(int64_t now);
    // Wall time at which the next running recording ends; 0 when none runs.
    int64_t NextRecordingEnd();

    // ---- File catalogue --------------------------------------------------
    // Files overlapping [startTime, endTime], bounds included (either bound
    // empty or not a date-time text: open), ordered by start time then id. An empty
    // cameraGuid matches every camera; recordType 0 or below every type.
    StoreResult ListFiles(const FileQuery& query, std::vector<FileEntry>* out);
    // The same selection with the media paths: the files of a time-span
    // playback or download, in playing order.
    StoreResult FilesForSpan(const FileQuery& query, std::vector<StoredFile>* out);
    // One stored file by id and record type (recordType below 0: any type).
    StoreResult FindFile(uint32_t fileId, int16_t recordType, StoredFile* out);
    // Path of the media bytes of a stored file; empty when unknown.
    std::string FilePath(uint32_t fileId);
    // Deletes the catalogue entry and the media bytes; kProtectedFile when
    // the file's permission is 1.
    StoreResult DeleteFile(const FileRecord& file);
    // Sets the permission: 0 deletable, 1 protected; other values kBadRequest.
    StoreResult SetFilePermission(const FileRecord& file);

    // ---- Uploads ---------------------------------------------------------
    // A fresh path under the data directory on which an upload may write its
    // bytes before AddUploadedFile moves them into the catalogue.
    std::string NewUploadPath();
    // Moves the bytes at uploadPath into the catalogue as a file of record
    // type 4. It joins the camera named by request.Label when that camera is
    // registered, otherwise the camera guid "upload". Its times are the
    // request's StartTime and EndTime (now when a text is not a date-time,
    // and never an end before the start); FileSize is the bytes' real size.
    // On failure uploadPath may be gone; the caller removes what is left.
    StoreResult AddUploadedFile(const UploadRequest& request, const std::string& uploadPath,
                                int64_t now, FileEntry* out);

    // ---- Seed ------------------------------------------------------------
    // On a store without cameras, policies, tasks and files only
    // (kStoreNotEmpty otherwise):
    // registers cam-1, cam-2 and cam-3 and stores three deletable recordings
    // of record type 1 for each, of 10 s each, during the hour before now.
    StoreResult Seed(int64_t now);

    class Impl;

  private:
    explicit Store(std::unique_ptr<Impl> impl);
    std::unique_ptr<Impl> impl_;
};

// The twelve-character stored file name: the record type digit and the file
// number in eleven digits.
std::string StoredFileName(int16_t recordType, uint32_t fileId);

}  // namespace kerrow::sim
