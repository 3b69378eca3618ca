#include "protocol/PolicyMessages.h"

#include "protocol/MessageTree.h"
#include "protocol/Methods.h"

namespace kerrow {
namespace {

// The seven schedule children of a single-task request; the start day is
// plain here, unlike in the full policy start.
void AddTaskSchedule(TiXmlElement* task, const TaskRequest& request, ValueText& value) {
    AddText(task, "StartYearMonth", request.startYearMonth);
    AddText(task, "StartDay", value.Unsigned(request.startDay));
    AddText(task, "DayofWeek", value.Unsigned(request.dayOfWeek));
    AddText(task, "StartTime", request.startTime);
    AddText(task, "EndYearMonth", request.endYearMonth);
    AddText(task, "EndDay", value.Unsigned(request.endDay));
    AddText(task, "EndTime", request.endTime);
}

// Modify/<name> holding one number: RecordPolicy_Del and RecordPolicy_DelTask.
void BuildModifyIdRequest(int method, uint32_t id, std::string& out) {
    ControlMessage message(method);
    ValueText value;
    AddText(AddElement(message.Action(), "Modify"), "ID", value.Unsigned(id));
    message.Print(out);
}

}  // namespace

void BuildPolicyStartRequest(const AddPolicyRequest& policy, std::string& out) {
    ControlMessage message(kMethodPolicyStart);
    ValueText value;
    TiXmlElement* element = AddElement(AddElement(message.Action(), "Control"), "RecordPolicy");
    // ID, PolicyID, PolicyStatus and Status are the constants a new policy
    // is created with; the server assigns the numbers.
    AddText(element, "ID", value.Word("0"));
    AddText(element, "CameraGUID", policy.cameraGuid);
    AddText(element, "RecordType", value.Signed(policy.recordType));
    AddText(element, "PolicyStatus", value.Word("3"));
    AddText(element, "CronType", value.Signed(policy.cronType));
    AddText(element, "Tasksnum", value.Unsigned(policy.taskCount));
    if (policy.taskCount > 0) {
        TiXmlElement* tasks = AddElement(element, "Tasks");
        for (const PolicyTaskEntry& entry : policy.tasks) {
            TiXmlElement* task = AddElement(tasks, "Task");
            AddText(task, "PolicyID", value.Word("0"));
            AddText(task, "StartYearMonth", entry.startYearMonth);
            AddText(task, "StartDay", value.ZeroFilled2(entry.startDay));
            AddText(task, "DayofWeek", value.Unsigned(entry.dayOfWeek));
            AddText(task, "StartTime", entry.startTime);
            AddText(task, "EndYearMonth", entry.endYearMonth);
            AddText(task, "EndDay", value.Unsigned(entry.endDay));
            AddText(task, "EndTime", entry.endTime);
            AddText(task, "Status", value.Word("0"));
        }
    }
    message.Print(out);
}

void BuildPolicyModifyRequest(const PolicySelector& selector, std::string& out) {
    ControlMessage message(kMethodPolicyModify);
    ValueText value;
    TiXmlElement* modify = AddElement(message.Action(), "Modify");
    AddText(modify, "ID", value.Unsigned(selector.policyId));
    AddText(AddElement(modify, "Policy"), "PolicyStatus", value.Unsigned(selector.policyStatus));
    message.Print(out);
}

void BuildPolicyDelRequest(const PolicySelector& selector, std::string& out) {
    BuildModifyIdRequest(kMethodPolicyDel, selector.policyId, out);
}

void BuildAddTaskRequest(const TaskRequest& task, std::string& out) {
    ControlMessage message(kMethodAddTask);
    ValueText value;
    TiXmlElement* modify = AddElement(message.Action(), "Modify");
    AddText(modify, "PolicyID", value.Unsigned(task.policyId));
    TiXmlElement* element = AddElement(modify, "Task");
    AddTaskSchedule(element, task, value);
    AddText(element, "Status", value.Unsigned(task.status));
    message.Print(out);
}

void BuildModifyTaskRequest(const TaskRequest& task, std::string& out) {
    ControlMessage message(kMethodModifyTask);
    ValueText value;
    TiXmlElement* modify = AddElement(message.Action(), "Modify");
    AddText(modify, "ID", value.Unsigned(task.taskId));
    AddTaskSchedule(AddElement(modify, "Task"), task, value);
    message.Print(out);
}

void BuildDelTaskRequest(const TaskRequest& task, std::string& out) {
    BuildModifyIdRequest(kMethodDelTask, task.taskId, out);
}

void BuildPolicyDelAllRequest(const PolicySelector& selector, std::string& out) {
    ControlMessage message(kMethodPolicyDelAll);
    AddText(AddElement(message.Action(), "Modify"), "CameraGUID", selector.cameraGuid);
    message.Print(out);
}

// The policy query counts its conditions in Itemnum and wraps them in Items;
// the task query below lists them bare. Both forms are what the server reads.
void BuildPolicyQueryRequest(const PolicyQuery& query, std::string& out) {
    ControlMessage message(kMethodPolicyQuery);
    ValueText value;
    TiXmlElement* condition = AddElement(AddElement(message.Action(), "Query"), "Condition");
    AddText(condition, "Itemnum", value.Unsigned(query.itemCount));
    if (query.itemCount != 0) {
        TiXmlElement* items = AddElement(condition, "Items");
        if (!query.cameraGuid.empty()) AddText(items, "CameraGUID", query.cameraGuid);
        if (query.recordType != -1) AddText(items, "RecordType", value.Signed(query.recordType));
    }
    message.Print(out);
}

void BuildTaskQueryRequest(const TaskQuery& query, std::string& out) {
    ControlMessage message(kMethodTaskQuery);
    ValueText value;
    TiXmlElement* condition = AddElement(AddElement(message.Action(), "Query"), "Condition");
    if (query.itemCount != 0) {
        if (!query.cameraGuid.empty()) AddText(condition, "CameraGUID", query.cameraGuid);
        if (query.recordType != -1) {
            AddText(condition, "RecordType", value.Signed(query.recordType));
        }
        if (query.cronType != -1) AddText(condition, "CronType", value.Signed(query.cronType));
    }
    message.Print(out);
}

}  // namespace kerrow
