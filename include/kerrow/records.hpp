// Typed records of the C++ layer and their conversion to and from the
// fixed-layout records of KerrowSDK.h. Times are system_clock time points
// read and written as local date-times; an all-zero date-time is Time{}.
// Conversions go through time_t, which is 32 bits wide in the i386 flavour:
// there, times after 2038-01-19 do not convert.
#pragma once

#include <time.h>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "KerrowSDK.h"
#include "kerrow/error.hpp"

namespace kerrow {

using Time = std::chrono::system_clock::time_point;

// A local date-time as the library carries it.
inline TransferTime toTransferTime(Time t) {
    TransferTime out{};
    if (t == Time{}) return out;
    const time_t secs = std::chrono::system_clock::to_time_t(t);
    struct tm local {};
    localtime_r(&secs, &local);
    out.year = static_cast<int16_t>(local.tm_year + 1900);
    out.month = static_cast<int16_t>(local.tm_mon + 1);
    out.day = static_cast<int16_t>(local.tm_mday);
    out.hour = static_cast<int16_t>(local.tm_hour);
    out.minute = static_cast<int16_t>(local.tm_min);
    out.second = static_cast<int16_t>(local.tm_sec);
    return out;
}

inline Time fromTransferTime(const TransferTime& t) {
    if (t.year == 0 && t.month == 0 && t.day == 0) return Time{};
    struct tm local {};
    local.tm_year = t.year - 1900;
    local.tm_mon = t.month - 1;
    local.tm_mday = t.day;
    local.tm_hour = t.hour;
    local.tm_min = t.minute;
    local.tm_sec = t.second;
    local.tm_isdst = -1;
    return std::chrono::system_clock::from_time_t(mktime(&local));
}

// "YYYY-MM-DD HH:MM:SS" in local time; "" for Time{}.
inline std::string formatTime(Time t) {
    if (t == Time{}) return "";
    const TransferTime v = toTransferTime(t);
    char text[64];
    std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d", v.year, v.month, v.day,
                  v.hour, v.minute, v.second);
    return text;
}

namespace detail {

// Copies a text into a fixed field; a text that does not fit (with its
// terminating zero) is refused as a bad argument.
template <size_t N>
void putText(char (&field)[N], const std::string& text, const char* what) {
    if (text.size() >= N) {
        throw Error(7, std::string(what) + " longer than " + std::to_string(N - 1) + " characters");
    }
    std::memset(field, 0, N);
    std::memcpy(field, text.data(), text.size());
}

// Reads a fixed field that a full-width text leaves without a zero.
template <size_t N>
std::string getText(const char (&field)[N]) {
    return std::string(field, strnlen(field, N));
}

}  // namespace detail

// The storage server and the camera that a connection works for.
struct ConnectionSettings {
    std::string server = "127.0.0.1";  // dotted IPv4
    int port = 0;                      // used when greater than 0
    int fallbackPort = 0;              // used only when port is not greater than 0
    std::string cameraId;
    std::string cameraName;
    std::string cameraDesc;
    int cameraType = 0;
    uint16_t encoderChannel = 0;
    std::string encoderName;
    std::string encoderIp;
    uint32_t encoderPort = 0;
    std::string encoderDns;  // when set, the encoder is reached by this name
    std::string encoderUsername;
    std::string encoderPassword;
    std::string forwardServerIp;
    uint32_t forwardServerPort = 0;
    uint16_t preRecord = 0;

    ConnectionRecord record() const {
        ConnectionRecord r{};
        detail::putText(r.cameraId, cameraId, "camera id");
        detail::putText(r.cameraName, cameraName, "camera name");
        detail::putText(r.cameraDesc, cameraDesc, "camera description");
        r.cameraType = cameraType;
        r.encoderChannel = encoderChannel;
        detail::putText(r.encoderName, encoderName, "encoder name");
        detail::putText(r.encoderIp, encoderIp, "encoder address");
        r.encoderPort = encoderPort;
        r.encoderByDns = encoderDns.empty() ? 0 : 1;
        detail::putText(r.encoderDns, encoderDns, "encoder DNS name");
        detail::putText(r.encoderUsername, encoderUsername, "encoder user name");
        detail::putText(r.encoderPassword, encoderPassword, "encoder password");
        detail::putText(r.serverAddress, server, "server address");
        r.serverPort = port;
        r.serverPortFallback = fallbackPort;
        detail::putText(r.forwardServerIp, forwardServerIp, "forwarding server address");
        r.forwardServerPort = forwardServerPort;
        r.preRecord = preRecord;
        return r;
    }
};

// One scheduled span of a record policy. Only the low 16 bits of daysOfWeek
// travel; the seconds of start and end are not sent.
struct Task {
    uint32_t id = 0;  // 0 for a new task
    Time start;
    Time end;
    uint32_t daysOfWeek = 0;
    int32_t status = 0;

    PolicyTask record() const {
        PolicyTask r{};
        r.taskId = id;
        const TransferTime s = toTransferTime(start), e = toTransferTime(end);
        r.startYear = static_cast<uint16_t>(s.year);
        r.startMonth = static_cast<uint16_t>(s.month);
        r.startDay = s.day;
        r.startHour = static_cast<uint16_t>(s.hour);
        r.startMinute = static_cast<uint16_t>(s.minute);
        r.startSecond = static_cast<uint16_t>(s.second);
        r.endYear = static_cast<uint16_t>(e.year);
        r.endMonth = static_cast<uint16_t>(e.month);
        r.endDay = static_cast<uint16_t>(e.day);
        r.endHour = static_cast<uint16_t>(e.hour);
        r.endMinute = static_cast<uint16_t>(e.minute);
        r.endSecond = static_cast<uint16_t>(e.second);
        r.dayOfWeek = daysOfWeek;
        r.status = status;
        return r;
    }
    static Task from(const PolicyTask& r) {
        Task t;
        t.id = r.taskId;
        t.start = fromTransferTime(
            TransferTime{static_cast<int16_t>(r.startYear), static_cast<int16_t>(r.startMonth),
                         r.startDay, static_cast<int16_t>(r.startHour),
                         static_cast<int16_t>(r.startMinute), static_cast<int16_t>(r.startSecond)});
        t.end = fromTransferTime(
            TransferTime{static_cast<int16_t>(r.endYear), static_cast<int16_t>(r.endMonth),
                         static_cast<int16_t>(r.endDay), static_cast<int16_t>(r.endHour),
                         static_cast<int16_t>(r.endMinute), static_cast<int16_t>(r.endSecond)});
        t.daysOfWeek = r.dayOfWeek;
        t.status = r.status;
        return t;
    }
};

// A record policy. The server takes the camera from the connection; record
// type 2 forces cron type 0, record type 3 is manual recording for
// maxRecordTime.
struct Policy {
    uint32_t id = 0;
    std::string cameraGuid;
    int32_t recordType = 1;
    int32_t cronType = 0;
    int32_t status = 0;
    Time created;
    Time updated;
    int32_t taskCount = 0;
    uint32_t maxRecordTime = 0;
    std::vector<Task> tasks;

    static Policy from(const RecordPolicy& r) {
        Policy p;
        p.id = r.policyId;
        p.cameraGuid = detail::getText(r.cameraGuid);
        p.recordType = r.recordType;
        p.cronType = r.cronType;
        p.status = r.policyStatus;
        p.created = fromTransferTime(r.createTime);
        p.updated = fromTransferTime(r.updateTime);
        p.taskCount = r.taskCount;
        p.maxRecordTime = r.maxRecordTime;
        for (const PolicyTask& t : r.tasks) p.tasks.push_back(Task::from(t));
        return p;
    }
};

// One task as the task query returns it.
struct TaskInfo {
    uint32_t id = 0;
    std::string cameraGuid;
    std::string alarmType;
    Time alarmTime;
    int32_t recordType = 0;
    int32_t cronType = 0;
    int32_t dayOfWeek = 0;
    Time start;
    Time end;
    std::string fileName;
    int32_t fileSize = 0;
    int32_t status = 0;

    static TaskInfo from(const PolicyTaskInfo& r) {
        TaskInfo t;
        t.id = r.taskId;
        t.cameraGuid = detail::getText(r.cameraGuid);
        t.alarmType = detail::getText(r.alarmType);
        t.alarmTime = fromTransferTime(r.alarmTime);
        t.recordType = r.recordType;
        t.cronType = r.cronType;
        t.dayOfWeek = r.dayOfWeek;
        t.start = fromTransferTime(r.startTime);
        t.end = fromTransferTime(r.endTime);
        t.fileName = detail::getText(r.fileName);
        t.fileSize = r.fileSize;
        t.status = r.taskStatus;
        return t;
    }
};

// An alarm on the connection's camera; the server records for maxRecordTime.
struct Alarm {
    std::string type;
    Time time = std::chrono::system_clock::now();
    uint16_t maxRecordTime = 60;

    AlarmInput record() const {
        AlarmInput r{};
        detail::putText(r.alarmType, type, "alarm type");
        r.alarmTime = toTransferTime(time);
        r.maxRecordTime = maxRecordTime;
        return r;
    }
};

// One recorded file of the catalogue; id is the 12-digit name that the file
// operations and transfers take.
struct FileInfo {
    std::string id;
    std::string cameraGuid;
    std::string alarmType;
    Time alarmTime;
    int32_t recordType = 0;
    int64_t size = 0;
    Time start;
    Time end;
    int32_t status = 0;
    int32_t permission = 0;

    static FileInfo from(const VideoFileInfo& r) {
        FileInfo f;
        f.id = detail::getText(r.fileId);
        f.cameraGuid = detail::getText(r.cameraGuid);
        f.alarmType = detail::getText(r.alarmType);
        f.alarmTime = fromTransferTime(r.alarmTime);
        f.recordType = r.recordType;
        f.size = static_cast<uint32_t>(r.fileSize);
        f.start = fromTransferTime(r.startTime);
        f.end = fromTransferTime(r.endTime);
        f.status = r.fileStatus;
        f.permission = r.filePermission;
        return f;
    }
};

// A local file to upload and its description.
struct UploadInfo {
    std::string path;
    uint16_t mediaType = 0;
    uint32_t encoderType = 0;
    Time start;
    Time end;
    std::string operatorId;
    std::string description;
    std::string uploader;
    std::string label;
    std::string controlCenter;

    UploadFileInfo record() const {
        UploadFileInfo r{};
        detail::putText(r.FilePath, path, "upload path");
        r.MediaType = mediaType;
        r.EncoderType = encoderType;
        r.StartTime = toTransferTime(start);
        r.EndTime = toTransferTime(end);
        detail::putText(r.OprID, operatorId, "operator id");
        detail::putText(r.FileDesc, description, "file description");
        detail::putText(r.Uploader, uploader, "uploader");
        detail::putText(r.Label, label, "label");
        detail::putText(r.ControlCenter, controlCenter, "control centre");
        return r;
    }
};

}  // namespace kerrow
