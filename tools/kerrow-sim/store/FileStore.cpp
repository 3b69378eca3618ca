// The file catalogue: listing, lookup, deletion, permissions and uploads.
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>

#include "StoreImpl.h"
#include "TimeText.h"

namespace kerrow::sim {

namespace {

int64_t Bound(const std::string& text, int64_t open) {
    int64_t wall = 0;
    return ParseWallTime(text, &wall) ? wall : open;
}

}  // namespace

void ReadFileEntry(const Statement& row, StoredFile* out, const std::string& mediaDir) {
    FileEntry& e = out->entry;
    e.fileId = static_cast<uint32_t>(row.Int(0));
    e.cameraGuid = row.Text(1);
    e.alarmType = row.Text(2);
    e.alarmDatetime = row.Text(3);
    e.recordType = static_cast<int16_t>(row.Int(4));
    e.fileSize = static_cast<uint32_t>(row.Int(5));
    e.startTime = FormatWallTime(row.Int(6));
    e.endTime = FormatWallTime(row.Int(7));
    e.fileStatus = static_cast<int16_t>(row.Int(8));
    e.filePermission = static_cast<int16_t>(row.Int(9));
    out->path = mediaDir + "/" + row.Text(10);
}

StoreResult Store::Impl::AddFileLocked(const NewFile& file,
                                       const std::function<bool(const std::string&)>& produce,
                                       StoredFile* out) {
    Statement insert(db,
                     "INSERT INTO files (camera, record_type, alarm_type, alarm_time, size, "
                     "start, end, status, permission, media, task_id, description, uploader, "
                     "label, opr_id, control_center, media_type, encoder_type) VALUES (?1, ?2, "
                     "?3, ?4, 0, ?5, ?6, 0, 0, '', ?7, ?8, ?9, ?10, ?11, ?12, ?13, ?14)");
    insert.Bind(1, file.camera).Bind(2, file.recordType).Bind(3, file.alarmType);
    insert.Bind(4, file.alarmDatetime).Bind(5, file.start).Bind(6, file.end);
    insert.Bind(7, file.taskId).Bind(8, file.description).Bind(9, file.uploader);
    insert.Bind(10, file.label).Bind(11, file.oprId).Bind(12, file.controlCenter);
    insert.Bind(13, file.mediaType).Bind(14, file.encoderType);
    if (!insert.Run()) {
        return kStorageFailure;
    }
    const int64_t id = db.LastInsertId();
    if (id < 1 || id > int64_t{kMaxFileId}) {
        return kStorageFailure;
    }
    const std::string media =
        StoredFileName(file.recordType, static_cast<uint32_t>(id)) + file.extension;
    const std::string path = mediaDir + "/" + media;
    const std::string temporary = path + ".tmp";
    struct stat st {};
    if (!produce(temporary) || stat(temporary.c_str(), &st) != 0) {
        unlink(temporary.c_str());
        return kStorageFailure;
    }
    if (static_cast<uint64_t>(st.st_size) > UINT32_MAX) {
        unlink(temporary.c_str());
        return kBadRequest;
    }
    Statement update(db, "UPDATE files SET size = ?1, media = ?2 WHERE id = ?3");
    update.Bind(1, static_cast<int64_t>(st.st_size)).Bind(2, media).Bind(3, id);
    if (!update.Run() || rename(temporary.c_str(), path.c_str()) != 0) {
        unlink(temporary.c_str());
        return kStorageFailure;
    }
    Statement row(db,
                  (std::string("SELECT ") + kFileColumns + " FROM files WHERE id = ?1").c_str());
    if (!row.Bind(1, id).Step()) {
        unlink(path.c_str());
        return kStorageFailure;
    }
    ReadFileEntry(row, out, mediaDir);
    return kStoreOk;
}

StoreResult Store::FilesForSpan(const FileQuery& query, std::vector<StoredFile>* out) {
    std::lock_guard<std::mutex> lock(impl_->mu);
    Statement q(impl_->db, (std::string("SELECT ") + kFileColumns +
                            " FROM files WHERE (?1 = '' OR camera = ?1) AND (?2 <= 0 OR "
                            "record_type = ?2) AND end >= ?3 AND start <= ?4 ORDER BY start, id")
                               .c_str());
    q.Bind(1, query.cameraGuid).Bind(2, query.recordType);
    q.Bind(3, Bound(query.startTime, kNoEarliest)).Bind(4, Bound(query.endTime, kNoLatest));
    while (q.Step()) {
        out->emplace_back();
        ReadFileEntry(q, &out->back(), impl_->mediaDir);
    }
    return q.Ok() ? kStoreOk : kStorageFailure;
}

StoreResult Store::ListFiles(const FileQuery& query, std::vector<FileEntry>* out) {
    std::vector<StoredFile> files;
    StoreResult r = FilesForSpan(query, &files);
    for (StoredFile& f : files) {
        out->push_back(std::move(f.entry));
    }
    return r;
}

StoreResult Store::FindFile(uint32_t fileId, int16_t recordType, StoredFile* out) {
    std::lock_guard<std::mutex> lock(impl_->mu);
    Statement q(impl_->db, (std::string("SELECT ") + kFileColumns +
                            " FROM files WHERE id = ?1 AND (?2 < 0 OR record_type = ?2)")
                               .c_str());
    if (!q.Bind(1, fileId).Bind(2, recordType).Step()) {
        return kUnknownFile;
    }
    ReadFileEntry(q, out, impl_->mediaDir);
    return kStoreOk;
}

std::string Store::FilePath(uint32_t fileId) {
    StoredFile file;
    return FindFile(fileId, -1, &file) == kStoreOk ? file.path : std::string();
}

StoreResult Store::DeleteFile(const FileRecord& file) {
    std::lock_guard<std::mutex> lock(impl_->mu);
    Statement q(impl_->db,
                "SELECT permission, media FROM files WHERE id = ?1 AND record_type = ?2");
    if (!q.Bind(1, file.fileId).Bind(2, file.recordType).Step()) {
        return kUnknownFile;
    }
    if (q.Int(0) == kFileProtected) {
        return kProtectedFile;
    }
    const std::string path = impl_->mediaDir + "/" + q.Text(1);
    Statement del(impl_->db, "DELETE FROM files WHERE id = ?1");
    if (!del.Bind(1, file.fileId).Run()) {
        return kStorageFailure;
    }
    // Transfers that opened the media before keep reading it.
    unlink(path.c_str());
    return kStoreOk;
}

StoreResult Store::SetFilePermission(const FileRecord& file) {
    if (file.filePermission != kFileDeletable && file.filePermission != kFileProtected) {
        return kBadRequest;
    }
    std::lock_guard<std::mutex> lock(impl_->mu);
    Statement q(impl_->db, "UPDATE files SET permission = ?3 WHERE id = ?1 AND record_type = ?2");
    if (!q.Bind(1, file.fileId).Bind(2, file.recordType).Bind(3, file.filePermission).Run()) {
        return kStorageFailure;
    }
    return impl_->db.Changes() == 1 ? kStoreOk : kUnknownFile;
}

std::string Store::NewUploadPath() {
    std::lock_guard<std::mutex> lock(impl_->mu);
    return impl_->incomingDir + "/upload-" + std::to_string(++impl_->uploadCounter) + ".part";
}

StoreResult Store::AddUploadedFile(const UploadRequest& request, const std::string& uploadPath,
                                   int64_t now, FileEntry* out) {
    std::lock_guard<std::mutex> lock(impl_->mu);
    NewFile file;
    file.camera = !request.Label.empty() && impl_->CameraExistsLocked(request.Label)
                      ? request.Label
                      : std::string("upload");
    file.recordType = kRecordUploaded;
    file.start = Bound(request.StartTime, now);
    file.end = std::max(file.start, Bound(request.EndTime, file.start));
    file.alarmDatetime = FormatWallTime(file.start);
    file.extension = ".y4m";
    file.description = request.FileDesc;
    file.uploader = request.Uploader;
    file.label = request.Label;
    file.oprId = request.OprID;
    file.controlCenter = request.ControlCenter;
    file.mediaType = request.MediaType;
    file.encoderType = request.EncoderType;
    Transaction t(impl_->db);
    if (!t.Began()) {
        return kStorageFailure;
    }
    auto produce = [&](const std::string& path) {
        return rename(uploadPath.c_str(), path.c_str()) == 0;
    };
    StoredFile added;
    StoreResult r = impl_->AddFileLocked(file, produce, &added);
    if (r != kStoreOk) {
        return r;
    }
    if (!t.Commit()) {
        unlink(added.path.c_str());
        return kStorageFailure;
    }
    if (out != nullptr) {
        *out = added.entry;
    }
    return kStoreOk;
}

}  // namespace kerrow::sim
