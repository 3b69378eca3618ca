#include "protocol/server/ServerReplies.h"

#include <tinyxml.h>

#include <algorithm>

#include "protocol/MediaMessages.h"
#include "protocol/MessageTree.h"
#include "protocol/Methods.h"

namespace kerrow {
namespace {

void BuildCodeReply(int32_t method, const char* response, int32_t code, std::string& out) {
    ControlMessage message(method);
    ValueText value;
    AddText(AddElement(message.Action(), response), "Code", value.Signed(code));
    message.Print(out);
}

// Action/QueryResponse of a list reply.
TiXmlElement* AddQueryResponse(ControlMessage& message) {
    return AddElement(message.Action(), "QueryResponse");
}

void AddFile(TiXmlElement* files, const FileEntry& file, ValueText& value) {
    TiXmlElement* element = AddElement(files, "File");
    AddText(element, "FileID", value.Unsigned(file.fileId));
    AddText(element, "CameraGUID", file.cameraGuid);
    AddText(element, "AlarmType", file.alarmType);
    AddText(element, "AlarmDatetime", file.alarmDatetime);
    AddText(element, "RecordType", value.Signed(file.recordType));
    AddText(element, "FileSize", value.Unsigned(file.fileSize));
    AddText(element, "StartTime", file.startTime);
    AddText(element, "EndTime", file.endTime);
    AddText(element, "FileStatus", value.Signed(file.fileStatus));
    AddText(element, "FilePermission", value.Signed(file.filePermission));
}

void AddPolicy(TiXmlElement* policies, const PolicyEntry& policy, ValueText& value) {
    TiXmlElement* element = AddElement(policies, "Policy");
    AddText(element, "ID", value.Unsigned(policy.policyId));
    AddText(element, "CameraGUID", policy.cameraGuid);
    AddText(element, "RecordType", value.Signed(policy.recordType));
    AddText(element, "CronType", value.Signed(policy.cronType));
    AddText(element, "PolicyStatus", value.Signed(policy.policyStatus));
    AddText(element, "CreateTime", policy.createTime);
    AddText(element, "UpdateTime", policy.updateTime);
    AddText(element, "Tasksnum", value.Unsigned(policy.tasks.size()));
    if (policy.tasks.empty()) return;
    TiXmlElement* tasks = AddElement(element, "Tasks");
    for (const PolicyTaskItem& task : policy.tasks) {
        TiXmlElement* item = AddElement(tasks, "Task");
        AddText(item, "TaskID", value.Unsigned(task.taskId));
        AddText(item, "StartYearMonth", task.startYearMonth);
        AddText(item, "StartDay", value.Signed(task.startDay));
        AddText(item, "DayofWeek", value.Signed(task.dayOfWeek));
        AddText(item, "StartTime", task.startTime);
        AddText(item, "EndYearMonth", task.endYearMonth);
        AddText(item, "EndDay", value.Signed(task.endDay));
        AddText(item, "EndTime", task.endTime);
        AddText(item, "Status", value.Signed(task.status));
    }
}

void AddTask(TiXmlElement* tasks, const TaskRecord& task, ValueText& value) {
    TiXmlElement* element = AddElement(tasks, "Task");
    AddText(element, "ID", value.Unsigned(task.taskId));
    AddText(element, "CameraGUID", task.cameraGuid);
    AddText(element, "AlarmType", task.alarmType);
    AddText(element, "AlarmDatetime", task.alarmDatetime);
    AddText(element, "RecordType", value.Signed(task.recordType));
    AddText(element, "CronType", value.Signed(task.cronType));
    AddText(element, "DayofWeek", value.Signed(task.dayOfWeek));
    AddText(element, "StartDatetime", task.startDatetime);
    AddText(element, "EndDatetime", task.endDatetime);
    AddText(element, "FileName", task.fileName);
    AddText(element, "FileSize", value.Unsigned(task.fileSize));
    AddText(element, "TaskStatus", value.Signed(task.taskStatus));
}

bool MediaContentType(int contentType) { return contentType >= 1 && contentType <= 4; }

// The 110-byte head of a media message: ContentType "01" to "04".
void BuildMediaHead(int contentType, std::string& out) {
    const char digits[3] = {'0', static_cast<char>('0' + contentType), '\0'};
    TiXmlDocument document;
    AddEnvelopeHead(document, digits);
    PrintDocument(document, out);
}

}  // namespace

void BuildResultReply(int32_t method, int32_t code, std::string& out) {
    BuildCodeReply(method, "ControlResponse", code, out);
}

void BuildModifyResultReply(int32_t method, int32_t code, std::string& out) {
    BuildCodeReply(method, "ModifyResponse", code, out);
}

// The start reply has the shape of the client's upload-finished notice.
void BuildStartReply(int32_t method, uint32_t clientId, int32_t code, std::string& out) {
    BuildControlResponseMessage(method, clientId, code, out);
}

void BuildPlayControlAck(uint32_t clientId, int32_t code, std::string& out) {
    BuildControlResponseMessage(kMethodPlayControl, clientId, code, out);
}

void BuildProgressNotice(int32_t method, uint32_t clientId, int32_t position, std::string& out) {
    ControlMessage message(method);
    ValueText value;
    AddText(message.Action(), "ClientId", value.Unsigned(clientId));
    AddText(message.Action(), "Position", value.Signed(position));
    message.Print(out);
}

void BuildEndNotice(int32_t method, uint32_t clientId, std::string& out) {
    BuildClientIdMessage(method, clientId, out);
}

void BuildFileListReply(const std::vector<FileEntry>& files, std::string& out) {
    ControlMessage message(kMethodFileList);
    ValueText value;
    TiXmlElement* response = AddQueryResponse(message);
    AddText(response, "TotalResult", value.Unsigned(files.size()));
    TiXmlElement* list = AddElement(response, "Files");
    for (const FileEntry& file : files) AddFile(list, file, value);
    message.Print(out);
}

void BuildPolicyQueryReply(const std::vector<PolicyEntry>& policies, std::string& out) {
    ControlMessage message(kMethodPolicyQuery);
    ValueText value;
    TiXmlElement* element = AddElement(AddQueryResponse(message), "RecordPolicy");
    AddText(element, "TotalResult", value.Unsigned(policies.size()));
    TiXmlElement* list = AddElement(element, "Policys");
    for (const PolicyEntry& policy : policies) AddPolicy(list, policy, value);
    message.Print(out);
}

void BuildTaskQueryReply(const std::vector<TaskRecord>& tasks, std::string& out) {
    ControlMessage message(kMethodTaskQuery);
    ValueText value;
    TiXmlElement* response = AddQueryResponse(message);
    AddText(response, "TotalResult", value.Unsigned(tasks.size()));
    TiXmlElement* list = AddElement(response, "Tasks");
    for (const TaskRecord& task : tasks) AddTask(list, task, value);
    message.Print(out);
}

bool BuildMediaMessage(int contentType, const char* data, size_t size, std::string& out) {
    if (!MediaContentType(contentType) || size > kMaxMediaPayload) return false;
    if (data == nullptr && size > 0) return false;
    std::string head;
    BuildMediaHead(contentType, head);
    out.clear();
    AppendDataMessage(head, data, size, out);
    return true;
}

bool AppendMediaMessages(int contentType, const char* data, size_t size, size_t maxPayload,
                         std::vector<std::string>& out) {
    if (!MediaContentType(contentType)) return false;
    if (data == nullptr || size == 0) return true;
    const size_t chunk = std::clamp<size_t>(maxPayload, 1, kMaxMediaPayload);
    std::string head;
    BuildMediaHead(contentType, head);
    for (size_t offset = 0; offset < size; offset += chunk) {
        const size_t part = std::min(chunk, size - offset);
        std::string message;
        message.reserve(head.size() + part);
        AppendDataMessage(head, data + offset, part, message);
        out.push_back(std::move(message));
    }
    return true;
}

}  // namespace kerrow
