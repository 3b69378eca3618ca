// Recordings started by alarms and manual recording: each is a recording
// task of its camera that ends when its time is up (Tick) or when it is
// stopped, and then becomes a catalogue file with a generated test pattern.
#include <unistd.h>

#include <algorithm>

#include "StoreImpl.h"
#include "TestPattern.h"
#include "TimeText.h"

namespace kerrow::sim {

namespace {

uint32_t BoundedSeconds(uint32_t seconds) {
    return seconds == 0 ? kDefaultRecordingSeconds : std::min(seconds, kMaxRecordingSeconds);
}

}  // namespace

StoreResult Store::Impl::StartRecordingLocked(const std::string& camera, int16_t recordType,
                                              const std::string& alarmType,
                                              const std::string& alarmDatetime, uint32_t seconds,
                                              int64_t now, uint32_t* taskId) {
    const int64_t end = now + BoundedSeconds(seconds);
    Statement running(db,
                      "SELECT id, rec_start, rec_end FROM tasks WHERE policy_id IS NULL AND "
                      "camera = ?1 AND record_type = ?2 AND status = ?3");
    running.Bind(1, camera).Bind(2, recordType).Bind(3, kTaskRecording);
    int64_t id = 0;
    if (running.Step()) {
        // A second start while recording extends the recording, up to the
        // longest recording from its start.
        id = running.Int(0);
        const int64_t extended =
            std::min(std::max(running.Int(2), end), running.Int(1) + kMaxRecordingSeconds);
        Statement q(db, "UPDATE tasks SET rec_end = ?2 WHERE id = ?1");
        if (!q.Bind(1, id).Bind(2, extended).Run()) {
            return kStorageFailure;
        }
    } else {
        Statement q(db,
                    "INSERT INTO tasks (policy_id, camera, status, record_type, alarm_type, "
                    "alarm_time, rec_start, rec_end) VALUES (NULL, ?1, ?2, ?3, ?4, ?5, ?6, ?7)");
        q.Bind(1, camera).Bind(2, kTaskRecording).Bind(3, recordType).Bind(4, alarmType);
        q.Bind(5, alarmDatetime).Bind(6, now).Bind(7, end);
        if (!q.Run()) {
            return kStorageFailure;
        }
        id = db.LastInsertId();
        if (id < 1 || id > int64_t{UINT32_MAX}) {
            return kStorageFailure;
        }
    }
    if (taskId != nullptr) {
        *taskId = static_cast<uint32_t>(id);
    }
    return kStoreOk;
}

StoreResult Store::Impl::FinishRecordingLocked(int64_t taskId, int64_t end) {
    Statement task(db,
                   "SELECT camera, record_type, alarm_type, alarm_time, rec_start FROM tasks "
                   "WHERE id = ?1");
    if (!task.Bind(1, taskId).Step()) {
        return kUnknownTask;
    }
    NewFile file;
    file.camera = task.Text(0);
    file.recordType = static_cast<int16_t>(task.Int(1));
    file.alarmType = task.Text(2);
    file.start = task.Int(4);
    file.alarmDatetime =
        file.recordType == kRecordAlarm ? task.Text(3) : FormatWallTime(file.start);
    // At least one second of video, at most the longest recording.
    const auto seconds = static_cast<uint32_t>(
        std::clamp<int64_t>(end - file.start, 1, int64_t{kMaxRecordingSeconds}));
    file.end = file.start + seconds;
    file.taskId = taskId;
    file.extension = ".y4m";
    Transaction t(db);
    if (!t.Began()) {
        return kStorageFailure;
    }
    auto produce = [&](const std::string& path) {
        std::string error;
        return WritePattern(path, file.camera, seconds, &error);
    };
    StoredFile added;
    StoreResult r = AddFileLocked(file, produce, &added);
    if (r != kStoreOk) {
        return r;
    }
    Statement done(db,
                   "UPDATE tasks SET status = ?2, rec_end = ?3, file_id = ?4, file_size = ?5 "
                   "WHERE id = ?1");
    done.Bind(1, taskId).Bind(2, kTaskFinished).Bind(3, file.end);
    done.Bind(4, added.entry.fileId).Bind(5, added.entry.fileSize);
    if (!done.Run() || !t.Commit()) {
        unlink(added.path.c_str());
        return kStorageFailure;
    }
    return kStoreOk;
}

StoreResult Store::Impl::StopRecordingLocked(const std::string& camera, int16_t recordType,
                                             int64_t now) {
    Statement running(db,
                      "SELECT id, rec_end FROM tasks WHERE policy_id IS NULL AND camera = ?1 "
                      "AND record_type = ?2 AND status = ?3");
    running.Bind(1, camera).Bind(2, recordType).Bind(3, kTaskRecording);
    if (!running.Step()) {
        return running.Ok() ? kStoreOk : kStorageFailure;
    }
    return FinishRecordingLocked(running.Int(0), std::min(now, running.Int(1)));
}

StoreResult Store::RaiseAlarm(const AlarmRequest& alarm, int64_t now, uint32_t* taskId) {
    const std::string& camera = alarm.camera.guid;
    if (camera.empty()) {
        return kBadRequest;
    }
    std::lock_guard<std::mutex> lock(impl_->mu);
    if (!impl_->CameraExistsLocked(camera) && !impl_->WriteCameraLocked(alarm.camera, now)) {
        return kStorageFailure;
    }
    return impl_->StartRecordingLocked(camera, kRecordAlarm, alarm.alarmType, alarm.alarmDatetime,
                                       alarm.maxRecordTime, now, taskId);
}

StoreResult Store::StopAlarm(const CameraSelector& camera, int64_t now) {
    std::lock_guard<std::mutex> lock(impl_->mu);
    if (!impl_->CameraExistsLocked(camera.cameraGuid)) {
        return kUnknownCamera;
    }
    return impl_->StopRecordingLocked(camera.cameraGuid, kRecordAlarm, now);
}

StoreResult Store::StartManualRecording(const AddPolicyRequest& request, int64_t now,
                                        uint32_t* taskId) {
    std::lock_guard<std::mutex> lock(impl_->mu);
    if (!impl_->CameraExistsLocked(request.cameraGuid)) {
        return kUnknownCamera;
    }
    return impl_->StartRecordingLocked(request.cameraGuid, kRecordManual, "", "",
                                       request.maxRecordTime, now, taskId);
}

StoreResult Store::StopManualRecording(const CameraSelector& camera, int64_t now) {
    std::lock_guard<std::mutex> lock(impl_->mu);
    if (!impl_->CameraExistsLocked(camera.cameraGuid)) {
        return kUnknownCamera;
    }
    return impl_->StopRecordingLocked(camera.cameraGuid, kRecordManual, now);
}

int Store::Tick(int64_t now) {
    std::lock_guard<std::mutex> lock(impl_->mu);
    std::vector<std::pair<int64_t, int64_t>> due;
    {
        Statement q(impl_->db,
                    "SELECT id, rec_end FROM tasks WHERE policy_id IS NULL AND status = ?1 AND "
                    "rec_end <= ?2 ORDER BY rec_end, id");
        q.Bind(1, kTaskRecording).Bind(2, now);
        while (q.Step()) {
            due.emplace_back(q.Int(0), q.Int(1));
        }
    }
    int finished = 0;
    for (const auto& [id, end] : due) {
        if (impl_->FinishRecordingLocked(id, end) == kStoreOk) {
            ++finished;
        }
    }
    return finished;
}

int64_t Store::NextRecordingEnd() {
    std::lock_guard<std::mutex> lock(impl_->mu);
    Statement q(impl_->db,
                "SELECT MIN(rec_end) FROM tasks WHERE policy_id IS NULL AND status = ?1");
    q.Bind(1, kTaskRecording);
    return q.Step() && !q.Null(0) ? q.Int(0) : 0;
}

}  // namespace kerrow::sim
