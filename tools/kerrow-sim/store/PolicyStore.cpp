// Record policies and their schedule tasks, and the task query that also
// reports recording tasks.
#include <cstdio>

#include "StoreImpl.h"
#include "TimeText.h"

namespace kerrow::sim {

namespace {

bool AllDigits(const std::string& text) {
    for (char c : text) {
        if (c < '0' || c > '9') {
            return false;
        }
    }
    return !text.empty();
}

// "YYYY-MM-DD HH:MM:00" of a schedule's year-month ("YYYYMM", the year
// possibly shorter), day and time ("HHMM"); empty when they do not fit.
std::string ScheduleText(const std::string& yearMonth, int64_t day, const std::string& time) {
    if (yearMonth.size() < 3 || yearMonth.size() > 8 || !AllDigits(yearMonth) || time.size() != 4 ||
        !AllDigits(time) || day < 0 || day > 99) {
        return "";
    }
    const int year = std::stoi(yearMonth.substr(0, yearMonth.size() - 2));
    const int month = std::stoi(yearMonth.substr(yearMonth.size() - 2));
    char text[48];
    std::snprintf(text, sizeof text, "%04d-%02d-%02d %.2s:%.2s:00", year, month,
                  static_cast<int>(day), time.c_str(), time.c_str() + 2);
    return text;
}

// Inserts one schedule task; its id in *id. False on failure or when ids
// no longer fit 32 bits.
bool InsertScheduleTask(Database& db, int64_t policyId, const std::string& camera,
                        const PolicyTaskEntry& t, int64_t status, int64_t* id) {
    Statement q(db,
                "INSERT INTO tasks (policy_id, camera, start_year_month, start_day, "
                "day_of_week, start_time, end_year_month, end_day, end_time, status) VALUES "
                "(?1, ?2, ?3, ?4, ?5, ?6, ?7, ?8, ?9, ?10)");
    q.Bind(1, policyId).Bind(2, camera).Bind(3, t.startYearMonth).Bind(4, t.startDay);
    q.Bind(5, t.dayOfWeek).Bind(6, t.startTime).Bind(7, t.endYearMonth).Bind(8, t.endDay);
    q.Bind(9, t.endTime).Bind(10, status);
    *id = q.Run() ? db.LastInsertId() : 0;
    return *id >= 1 && *id <= int64_t{UINT32_MAX};
}

PolicyTaskEntry EntryOf(const TaskRequest& r) {
    PolicyTaskEntry e;
    e.startYearMonth = r.startYearMonth;
    e.startDay = r.startDay;
    e.dayOfWeek = r.dayOfWeek;
    e.startTime = r.startTime;
    e.endYearMonth = r.endYearMonth;
    e.endDay = r.endDay;
    e.endTime = r.endTime;
    return e;
}

bool TouchPolicy(Database& db, int64_t policyId, int64_t now) {
    Statement q(db, "UPDATE policies SET updated = ?2 WHERE id = ?1");
    return q.Bind(1, policyId).Bind(2, now).Run();
}

}  // namespace

StoreResult Store::AddPolicy(const AddPolicyRequest& request, int64_t now, uint32_t* policyId) {
    std::lock_guard<std::mutex> lock(impl_->mu);
    Database& db = impl_->db;
    if (!impl_->CameraExistsLocked(request.cameraGuid)) {
        return kUnknownCamera;
    }
    Transaction t(db);
    Statement q(db,
                "INSERT INTO policies (camera, record_type, cron_type, status, created, "
                "updated) VALUES (?1, ?2, ?3, ?4, ?5, ?5)");
    q.Bind(1, request.cameraGuid).Bind(2, request.recordType);
    q.Bind(3, request.recordType == kRecordAlarm ? 0 : request.cronType);
    q.Bind(4, kNewPolicyStatus).Bind(5, now);
    if (!t.Began() || !q.Run()) {
        return kStorageFailure;
    }
    const int64_t id = db.LastInsertId();
    if (id < 1 || id > int64_t{UINT32_MAX}) {
        return kStorageFailure;
    }
    for (const PolicyTaskEntry& task : request.tasks) {
        int64_t taskId = 0;
        if (!InsertScheduleTask(db, id, request.cameraGuid, task, 0, &taskId)) {
            return kStorageFailure;
        }
    }
    if (!t.Commit()) {
        return kStorageFailure;
    }
    if (policyId != nullptr) {
        *policyId = static_cast<uint32_t>(id);
    }
    return kStoreOk;
}

StoreResult Store::ModifyPolicy(const PolicySelector& selector, int64_t now) {
    std::lock_guard<std::mutex> lock(impl_->mu);
    Statement q(impl_->db, "UPDATE policies SET status = ?2, updated = ?3 WHERE id = ?1");
    if (!q.Bind(1, selector.policyId).Bind(2, selector.policyStatus).Bind(3, now).Run()) {
        return kStorageFailure;
    }
    return impl_->db.Changes() == 1 ? kStoreOk : kUnknownPolicy;
}

StoreResult Store::DeletePolicy(const PolicySelector& selector) {
    std::lock_guard<std::mutex> lock(impl_->mu);
    Database& db = impl_->db;
    Transaction t(db);
    Statement policy(db, "DELETE FROM policies WHERE id = ?1");
    if (!t.Began() || !policy.Bind(1, selector.policyId).Run()) {
        return kStorageFailure;
    }
    if (db.Changes() != 1) {
        return kUnknownPolicy;
    }
    Statement tasks(db, "DELETE FROM tasks WHERE policy_id = ?1");
    return tasks.Bind(1, selector.policyId).Run() && t.Commit() ? kStoreOk : kStorageFailure;
}

StoreResult Store::DeleteAllPolicies(const PolicySelector& selector) {
    std::lock_guard<std::mutex> lock(impl_->mu);
    Database& db = impl_->db;
    if (!impl_->CameraExistsLocked(selector.cameraGuid)) {
        return kUnknownCamera;
    }
    Transaction t(db);
    Statement tasks(db,
                    "DELETE FROM tasks WHERE policy_id IN (SELECT id FROM policies WHERE "
                    "camera = ?1)");
    Statement policies(db, "DELETE FROM policies WHERE camera = ?1");
    bool ok = t.Began() && tasks.Bind(1, selector.cameraGuid).Run() &&
              policies.Bind(1, selector.cameraGuid).Run() && t.Commit();
    return ok ? kStoreOk : kStorageFailure;
}

StoreResult Store::QueryPolicies(const PolicyQuery& query, std::vector<PolicyEntry>* out) {
    std::lock_guard<std::mutex> lock(impl_->mu);
    Database& db = impl_->db;
    Statement q(db,
                "SELECT id, camera, record_type, cron_type, status, created, updated FROM "
                "policies WHERE (?1 = '' OR camera = ?1) AND (?2 <= 0 OR record_type = ?2) "
                "ORDER BY id");
    q.Bind(1, query.cameraGuid).Bind(2, query.recordType);
    Statement tasks(db,
                    "SELECT id, start_year_month, start_day, day_of_week, start_time, "
                    "end_year_month, end_day, end_time, status FROM tasks WHERE policy_id = ?1 "
                    "ORDER BY id");
    while (q.Step()) {
        PolicyEntry p;
        p.policyId = static_cast<uint32_t>(q.Int(0));
        p.cameraGuid = q.Text(1);
        p.recordType = static_cast<int16_t>(q.Int(2));
        p.cronType = static_cast<int16_t>(q.Int(3));
        p.policyStatus = static_cast<int16_t>(q.Int(4));
        p.createTime = FormatWallTime(q.Int(5));
        p.updateTime = FormatWallTime(q.Int(6));
        tasks.Reset();
        tasks.Bind(1, q.Int(0));
        while (tasks.Step()) {
            PolicyTaskItem item;
            item.taskId = static_cast<uint32_t>(tasks.Int(0));
            item.startYearMonth = tasks.Text(1);
            item.startDay = static_cast<int16_t>(tasks.Int(2));
            item.dayOfWeek = static_cast<int16_t>(tasks.Int(3));
            item.startTime = tasks.Text(4);
            item.endYearMonth = tasks.Text(5);
            item.endDay = static_cast<int16_t>(tasks.Int(6));
            item.endTime = tasks.Text(7);
            item.status = static_cast<int16_t>(tasks.Int(8));
            p.tasks.push_back(item);
        }
        p.taskCount = static_cast<uint16_t>(p.tasks.size());
        out->push_back(std::move(p));
    }
    return q.Ok() && tasks.Ok() ? kStoreOk : kStorageFailure;
}

StoreResult Store::AddTask(const TaskRequest& request, int64_t now, uint32_t* taskId) {
    std::lock_guard<std::mutex> lock(impl_->mu);
    Database& db = impl_->db;
    Statement policy(db, "SELECT camera FROM policies WHERE id = ?1");
    if (!policy.Bind(1, request.policyId).Step()) {
        return kUnknownPolicy;
    }
    Transaction t(db);
    int64_t id = 0;
    if (!t.Began() ||
        !InsertScheduleTask(db, request.policyId, policy.Text(0), EntryOf(request), request.status,
                            &id) ||
        !TouchPolicy(db, request.policyId, now) || !t.Commit()) {
        return kStorageFailure;
    }
    if (taskId != nullptr) {
        *taskId = static_cast<uint32_t>(id);
    }
    return kStoreOk;
}

StoreResult Store::ModifyTask(const TaskRequest& request, int64_t now) {
    std::lock_guard<std::mutex> lock(impl_->mu);
    Database& db = impl_->db;
    Statement policy(db, "SELECT policy_id FROM tasks WHERE id = ?1 AND policy_id IS NOT NULL");
    if (!policy.Bind(1, request.taskId).Step()) {
        return kUnknownTask;
    }
    Transaction t(db);
    Statement q(db,
                "UPDATE tasks SET start_year_month = ?2, start_day = ?3, day_of_week = ?4, "
                "start_time = ?5, end_year_month = ?6, end_day = ?7, end_time = ?8 WHERE id = ?1");
    q.Bind(1, request.taskId).Bind(2, request.startYearMonth).Bind(3, request.startDay);
    q.Bind(4, request.dayOfWeek).Bind(5, request.startTime).Bind(6, request.endYearMonth);
    q.Bind(7, request.endDay).Bind(8, request.endTime);
    bool ok = t.Began() && q.Run() && TouchPolicy(db, policy.Int(0), now) && t.Commit();
    return ok ? kStoreOk : kStorageFailure;
}

StoreResult Store::DeleteTask(const TaskRequest& request, int64_t now) {
    std::lock_guard<std::mutex> lock(impl_->mu);
    Database& db = impl_->db;
    Statement policy(db, "SELECT policy_id FROM tasks WHERE id = ?1 AND policy_id IS NOT NULL");
    if (!policy.Bind(1, request.taskId).Step()) {
        return kUnknownTask;
    }
    Transaction t(db);
    Statement q(db, "DELETE FROM tasks WHERE id = ?1");
    bool ok = t.Began() && q.Bind(1, request.taskId).Run() && TouchPolicy(db, policy.Int(0), now) &&
              t.Commit();
    return ok ? kStoreOk : kStorageFailure;
}

StoreResult Store::QueryTasks(const TaskQuery& query, std::vector<TaskRecord>* out) {
    std::lock_guard<std::mutex> lock(impl_->mu);
    Statement q(impl_->db,
                "SELECT t.id, t.policy_id IS NULL, t.camera, COALESCE(p.record_type, "
                "t.record_type), COALESCE(p.cron_type, 0), t.start_year_month, t.start_day, "
                "t.day_of_week, t.start_time, t.end_year_month, t.end_day, t.end_time, "
                "t.status, t.alarm_type, t.alarm_time, t.rec_start, t.rec_end, t.file_id, "
                "t.file_size FROM tasks t LEFT JOIN policies p ON p.id = t.policy_id WHERE "
                "(?1 = '' OR t.camera = ?1) AND (?2 = -1 OR COALESCE(p.record_type, "
                "t.record_type) = ?2) AND (?3 = -1 OR COALESCE(p.cron_type, 0) = ?3) ORDER BY "
                "t.id");
    q.Bind(1, query.cameraGuid).Bind(2, query.recordType).Bind(3, query.cronType);
    while (q.Step()) {
        TaskRecord r;
        r.taskId = static_cast<uint32_t>(q.Int(0));
        r.cameraGuid = q.Text(2);
        r.recordType = static_cast<int16_t>(q.Int(3));
        r.cronType = static_cast<int16_t>(q.Int(4));
        r.taskStatus = static_cast<int16_t>(q.Int(12));
        if (q.Int(1) != 0) {  // a recording task
            r.alarmType = q.Text(13);
            r.alarmDatetime = q.Text(14);
            r.startDatetime = FormatWallTime(q.Int(15));
            r.endDatetime = FormatWallTime(q.Int(16));
            if (q.Int(17) > 0) {
                r.fileName = StoredFileName(r.recordType, static_cast<uint32_t>(q.Int(17)));
                r.fileSize = static_cast<uint32_t>(q.Int(18));
            }
        } else {
            r.dayOfWeek = static_cast<int16_t>(q.Int(7));
            r.startDatetime = ScheduleText(q.Text(5), q.Int(6), q.Text(8));
            r.endDatetime = ScheduleText(q.Text(9), q.Int(10), q.Text(11));
        }
        out->push_back(std::move(r));
    }
    return q.Ok() ? kStoreOk : kStorageFailure;
}

}  // namespace kerrow::sim
