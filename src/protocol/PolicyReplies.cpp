// Readers of the two record-policy query replies. Both walk as many items as
// the reply announces but never past the last item element present.
#include <tinyxml.h>

#include <utility>

#include "log/Log.h"
#include "protocol/Elements.h"
#include "protocol/ItemFields.h"
#include "protocol/Numbers.h"
#include "protocol/PolicyMessages.h"

namespace kerrow {
namespace {

void ReadPolicyTask(const TiXmlElement* e, PolicyTaskItem& t) {
    ReadLongField(
        e, "TaskID",
        "xml file Action-QueryResponse-Policys-Policy-Tasks-Task-TaskID element not found!",
        t.taskId);
    ReadTextField(
        e, "StartYearMonth",
        "xml file Action-QueryResponse-Policys-Policy-Tasks-Task-StartYearMonth element not found!",
        t.startYearMonth);
    ReadIntField(
        e, "StartDay",
        "xml file Action-QueryResponse-Policys-Policy-Tasks-Task-StartDay element not found!",
        t.startDay);
    ReadIntField(
        e, "DayofWeek",
        "xml file Action-QueryResponse-Policys-Policy-Tasks-Task-DayofWeek element not found!",
        t.dayOfWeek);
    ReadTextField(
        e, "StartTime",
        "xml file Action-QueryResponse-Policys-Policy-Tasks-Task-StartTime element not found!",
        t.startTime);
    ReadTextField(
        e, "EndYearMonth",
        "xml file Action-QueryResponse-Policys-Policy-Tasks-Task-EndYearMonth element not found!",
        t.endYearMonth);
    ReadIntField(
        e, "EndDay",
        "xml file Action-QueryResponse-Policys-Policy-Tasks-Task-EndDay element not found!",
        t.endDay);
    ReadTextField(
        e, "EndTime",
        "xml file Action-QueryResponse-Policys-Policy-Tasks-Task-EndTime element not found!",
        t.endTime);
    ReadIntField(
        e, "Status",
        "xml file Action-QueryResponse-Policys-Policy-Tasks-Task-Status element not found!",
        t.status);
}

// Fills the policy's own fields; returns the task count as read (0 when
// Tasksnum is missing), before it is cut to the entry's 16 bits.
int32_t ReadPolicyFields(const TiXmlElement* e, PolicyEntry& p) {
    ReadLongField(e, "ID",
                  "xml file Action-QueryResponse-RecordPolicy-Policys-Policy-ID element not found!",
                  p.policyId);
    ReadTextField(
        e, "CameraGUID",
        "xml file Action-QueryResponse-RecordPolicy-Policys-Policy-CameraGUID element not found!",
        p.cameraGuid);
    ReadIntField(
        e, "RecordType",
        "xml file Action-QueryResponse-RecordPolicy-Policys-Policy-RecordType element not found!",
        p.recordType);
    ReadIntField(
        e, "CronType",
        "xml file Action-QueryResponse-RecordPolicy-Policys-Policy-CronType element not found!",
        p.cronType);
    ReadIntField(e, "PolicyStatus",
                 "xml file Action-QueryResponse-RecordPolicy-Policys-Policy-PolicyStatus element "
                 "not found!",
                 p.policyStatus);
    ReadTextField(
        e, "CreateTime",
        "xml file Action-QueryResponse-RecordPolicy-Policys-Policy-CreateTime element not found!",
        p.createTime);
    ReadTextField(
        e, "UpdateTime",
        "xml file Action-QueryResponse-RecordPolicy-Policys-Policy-UpdateTime element not found!",
        p.updateTime);
    const TiXmlElement* tasksnum = FieldElement(
        e, "Tasksnum",
        "xml file Action-QueryResponse-RecordPolicy-Policys-Tasksnum element not found!");
    if (tasksnum == nullptr) return 0;
    const int32_t count = ElementInt(tasksnum);
    KLOG_INFO << "tasksnum:" << count;
    p.taskCount = static_cast<uint16_t>(count);
    return count;
}

void ReadTaskRecord(const TiXmlElement* e, TaskRecord& t) {
    ReadLongField(e, "ID", "xml file Action-QueryResponse-Tasks-Task-ID element not found!",
                  t.taskId);
    ReadTextField(e, "CameraGUID",
                  "xml file Action-QueryResponse-Tasks-Task-CameraID element not found!",
                  t.cameraGuid);
    ReadTextField(e, "AlarmType",
                  "xml file Action-QueryResponse-Tasks-Task-AlarmType element not found!",
                  t.alarmType);
    ReadTextField(e, "AlarmDatetime",
                  "xml file Action-QueryResponse-Tasks-Task-AlarmDatetime element not found!",
                  t.alarmDatetime);
    ReadIntField(e, "RecordType",
                 "xml file Action-QueryResponse-Tasks-Task-RecordType element not found!",
                 t.recordType);
    ReadIntField(e, "CronType",
                 "xml file Action-QueryResponse-Tasks-Task-CronType element not found!",
                 t.cronType);
    ReadIntField(e, "DayofWeek",
                 "xml file Action-QueryResponse-Tasks-Task-DayofWeek element not found!",
                 t.dayOfWeek);
    ReadTextField(e, "StartDatetime",
                  "xml file Action-QueryResponse-Tasks-Task-StartDatetime element not found!",
                  t.startDatetime);
    ReadTextField(e, "EndDatetime",
                  "xml file Action-QueryResponse-Tasks-Task-EndDatetime element not found!",
                  t.endDatetime);
    ReadTextField(e, "FileName",
                  "xml file Action-QueryResponse-Tasks-Task-FileName element not found!",
                  t.fileName);
    ReadLongField(e, "FileSize",
                  "xml file Action-QueryResponse-Tasks-Task-FileSize element not found!",
                  t.fileSize);
    ReadIntField(e, "TaskStatus",
                 "xml file Action-QueryResponse-Tasks-Task-TaskStatus element not found!",
                 t.taskStatus);
}

}  // namespace

int ParsePolicyQueryReply(const TiXmlDocument& document, ListReply<PolicyEntry>& reply) {
    if (ParseEnvelopeHeader(document, reply) != 0) return -1;
    reply.TotalResult = 0;
    const TiXmlElement* recordPolicy =
        FindPath(&document, {"Action", "QueryResponse", "RecordPolicy"});
    const TiXmlElement* total =
        recordPolicy != nullptr ? recordPolicy->FirstChildElement("TotalResult") : nullptr;
    if (total == nullptr) {
        // A camera without policies may be answered without a total.
        KLOG_INFO << "xml file Action-QueryResponse-RecordPolicy-TotalResult element not found!";
    } else {
        reply.TotalResult = ElementInt(total);
        KLOG_INFO << "Total:" << reply.TotalResult;
    }
    if (reply.TotalResult <= 0) return 0;
    const TiXmlElement* policy = FindPath(recordPolicy, {"Policys", "Policy"});
    if (policy == nullptr) {
        KLOG_INFO << "xml file Action-QueryResponse-RecordPolicy-Policys-Policy element not found!";
        return -1;
    }
    for (int32_t i = 0; i < reply.TotalResult && policy != nullptr; ++i) {
        PolicyEntry entry;
        const int32_t taskCount = ReadPolicyFields(policy, entry);
        if (taskCount != 0) {
            const TiXmlElement* task = FindPath(policy, {"Tasks", "Task"});
            if (task == nullptr) {
                KLOG_INFO << "xml file Action-QueryResponse-RecordPolicy-Policys-Tasks-Task "
                             "element not found!";
                return -1;
            }
            for (int32_t j = 0; j < taskCount && task != nullptr; ++j) {
                entry.tasks.emplace_back();
                ReadPolicyTask(task, entry.tasks.back());
                task = task->NextSiblingElement("Task");
            }
        }
        reply.Items.push_back(std::move(entry));
        policy = policy->NextSiblingElement("Policy");
    }
    return 0;
}

int ParseTaskQueryReply(const TiXmlDocument& document, ListReply<TaskRecord>& reply) {
    if (ParseEnvelopeHeader(document, reply) != 0) return -1;
    reply.TotalResult = 0;
    const TiXmlElement* response = FindPath(&document, {"Action", "QueryResponse"});
    const TiXmlElement* total =
        response != nullptr ? response->FirstChildElement("TotalResult") : nullptr;
    if (total == nullptr) {
        KLOG_INFO << "xml file Action-QueryResponse-TotalResult element not found!";
        return -1;
    }
    reply.TotalResult = ReadLong32(total->GetText());  // an empty total reads 0
    if (reply.TotalResult <= 0) return 0;
    const TiXmlElement* task = FindPath(response, {"Tasks", "Task"});
    if (task == nullptr) {
        KLOG_INFO << "xml file Action-QueryResponse-Tasks-Task element not found!";
        return -1;
    }
    for (int32_t i = 0; i < reply.TotalResult && task != nullptr; ++i) {
        reply.Items.emplace_back();
        ReadTaskRecord(task, reply.Items.back());
        task = task->NextSiblingElement("Task");
    }
    return 0;
}

}  // namespace kerrow
