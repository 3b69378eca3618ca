#include "client/QueryResults.h"

#include <cstdio>
#include <cstring>

#include "protocol/Numbers.h"
#include "util/FieldText.h"
#include "util/TimeText.h"

namespace kerrow {
namespace {

// atoi of the characters [from, from + count) of text, as far as it goes.
uint16_t Column(const std::string& text, size_t from, size_t count) {
    if (from >= text.size()) return 0;
    return static_cast<uint16_t>(ReadLong32(text.c_str() + from, count));
}

}  // namespace

std::string StoredFileName(int32_t recordType, uint32_t fileId) {
    char text[32];
    std::snprintf(text, sizeof(text), "%d%011u", recordType, fileId);
    return text;
}

void AppendPolicy(const PolicyEntry& entry, std::list<RecordPolicy>& out) {
    RecordPolicy policy{};
    policy.policyId = entry.policyId;
    FillField(policy.cameraGuid, entry.cameraGuid);
    policy.recordType = entry.recordType;
    policy.cronType = entry.cronType;
    policy.policyStatus = entry.policyStatus;
    policy.createTime = ParseTransferTime(entry.createTime);
    policy.updateTime = ParseTransferTime(entry.updateTime);
    policy.taskCount = entry.taskCount;
    for (const PolicyTaskItem& item : entry.tasks) {
        PolicyTask task{};
        task.taskId = item.taskId;
        task.startYear = Column(item.startYearMonth, 0, 4);
        task.startMonth = Column(item.startYearMonth, 4, 2);
        task.startDay = item.startDay;
        task.startHour = Column(item.startTime, 0, 2);
        task.startMinute = Column(item.startTime, 2, 2);
        task.startSecond = Column(item.startTime, 4, 2);
        task.endYear = Column(item.endYearMonth, 0, 4);
        task.endMonth = Column(item.endYearMonth, 4, 2);
        task.endDay = static_cast<uint16_t>(item.endDay);
        task.endHour = Column(item.endTime, 0, 2);
        task.endMinute = Column(item.endTime, 2, 2);
        task.endSecond = Column(item.endTime, 4, 2);
        task.dayOfWeek = static_cast<uint32_t>(static_cast<int32_t>(item.dayOfWeek));
        task.status = item.status;
        policy.tasks.push_back(task);
    }
    out.push_back(policy);
}

void AppendTask(const TaskRecord& record, std::list<PolicyTaskInfo>& out) {
    PolicyTaskInfo info;
    std::memset(&info, 0, sizeof(info));
    info.taskId = record.taskId;
    FillField(info.cameraGuid, record.cameraGuid);
    FillField(info.alarmType, record.alarmType);
    info.alarmTime = ParseTransferTime(record.alarmDatetime);
    info.recordType = record.recordType;
    info.cronType = record.cronType;
    info.dayOfWeek = record.dayOfWeek;
    info.startTime = ParseTransferTime(record.startDatetime);
    info.endTime = ParseTransferTime(record.endDatetime);
    FillField(info.fileName, record.fileName);
    info.fileSize = static_cast<int32_t>(record.fileSize);
    info.taskStatus = record.taskStatus;
    out.push_back(info);
}

void AppendFile(const FileEntry& entry, std::list<VideoFileInfo>& out) {
    VideoFileInfo info;
    std::memset(&info, 0, sizeof(info));
    // A record type of two or more digits makes a longer name, which is cut
    // to the field.
    FillField(info.fileId, StoredFileName(entry.recordType, entry.fileId));
    FillField(info.cameraGuid, entry.cameraGuid);
    FillField(info.alarmType, entry.alarmType);
    info.alarmTime = ParseTransferTime(entry.alarmDatetime);
    info.recordType = entry.recordType;
    info.fileSize = static_cast<int32_t>(entry.fileSize);
    info.startTime = ParseTransferTime(entry.startTime);
    info.endTime = ParseTransferTime(entry.endTime);
    info.fileStatus = entry.fileStatus;
    info.filePermission = entry.filePermission;
    out.push_back(info);
}

}  // namespace kerrow
