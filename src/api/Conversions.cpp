#include "api/Conversions.h"

#include <cstring>
#include <sstream>

#include "protocol/Numbers.h"
#include "util/TimeText.h"

namespace kerrow {
namespace {

constexpr const char* kNoTime = "0000-00-00 00:00:00";
constexpr uint16_t kNotGiven = 0xFFFF;

std::string YearMonth(std::ostringstream& stream, unsigned year, unsigned month) {
    stream.str("");
    stream << year;
    stream.width(2);
    stream.fill('0');
    stream << month;
    return stream.str();
}

std::string HourMinute(std::ostringstream& stream, unsigned hour, unsigned minute) {
    stream.str("");
    stream.width(2);
    stream.fill('0');
    stream << hour;
    stream.width(2);
    stream << minute;
    return stream.str();
}

}  // namespace

StoredFileName SplitFileName(const char* fileName) {
    char name[13] = {};
    std::strncpy(name, fileName, 12);
    char type[2] = {name[0], '\0'};
    StoredFileName split;
    split.recordType = static_cast<int16_t>(ReadLong32(type));
    split.fileId = static_cast<uint32_t>(ReadLong32(name[0] != '\0' ? name + 1 : name));
    return split;
}

FileRecord FileRecordFromName(const char* fileName) {
    StoredFileName split = SplitFileName(fileName);
    FileRecord record;
    record.recordType = split.recordType;
    record.fileId = split.fileId;
    return record;
}

MediaRequest MediaRequestByFile(const char* fileName) {
    StoredFileName split = SplitFileName(fileName);
    MediaRequest request;
    request.PlayType = 1;
    request.FileID = split.fileId;
    request.RecordType = static_cast<uint16_t>(split.recordType);
    request.StartTime = kNoTime;
    request.EndTime = kNoTime;
    return request;
}

MediaRequest MediaRequestByTime(uint16_t recordType, TransferTime start, TransferTime end) {
    MediaRequest request;
    request.PlayType = 2;
    request.RecordType = recordType;
    request.StartTime = FormatTransferTime(start);
    request.EndTime = FormatTransferTime(end);
    return request;
}

TaskRequest TaskRequestFromPolicyTask(uint32_t policyId, const PolicyTask& task, bool withTaskId) {
    std::ostringstream stream;
    TaskRequest request;
    request.policyId = policyId;
    if (withTaskId) request.taskId = task.taskId;
    request.startYearMonth = YearMonth(stream, task.startYear, task.startMonth);
    request.startDay = static_cast<uint16_t>(task.startDay);
    request.dayOfWeek = static_cast<uint16_t>(task.dayOfWeek);
    request.startTime = HourMinute(stream, task.startHour, task.startMinute);
    request.endYearMonth = YearMonth(stream, task.endYear, task.endMonth);
    request.endDay = task.endDay;
    request.endTime = HourMinute(stream, task.endHour, task.endMinute);
    return request;
}

AlarmRequest AlarmRequestFromInput(const AlarmInput& alarm) {
    AlarmRequest request;
    request.alarmType = FieldText(alarm.alarmType);
    request.alarmDatetime = FormatTransferTime(alarm.alarmTime);
    request.maxRecordTime = alarm.maxRecordTime;
    return request;
}

PolicyQuery PolicyQueryFromArguments(const char* cameraGuid, uint32_t recordType) {
    PolicyQuery query;
    query.itemCount = recordType != 0 ? 2 : 1;
    query.cameraGuid = cameraGuid;
    query.recordType = static_cast<int16_t>(recordType & 0xFFFF);
    return query;
}

TaskQuery TaskQueryFromArguments(const char* cameraGuid, uint16_t recordType, uint16_t cronType) {
    TaskQuery query;
    query.cameraGuid = cameraGuid;
    query.recordType = static_cast<int16_t>(recordType);
    query.cronType = static_cast<int16_t>(cronType);
    if (!query.cameraGuid.empty()) ++query.itemCount;
    if (recordType != kNotGiven) ++query.itemCount;
    if (cronType != kNotGiven) ++query.itemCount;
    return query;
}

FileQuery FileQueryFromArguments(const char* cameraGuid, uint16_t recordType, const char* alarmType,
                                 TransferTime start, TransferTime end) {
    FileQuery query;
    query.cameraGuid = cameraGuid;
    query.recordType = static_cast<int16_t>(recordType);
    query.alarmType = alarmType;
    query.startTime = FormatTransferTime(start);
    query.endTime = FormatTransferTime(end);
    return query;
}

}  // namespace kerrow
