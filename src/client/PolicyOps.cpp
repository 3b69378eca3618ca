// Record policies of the connection's camera and their tasks.
#include <tinyxml.h>

#include <sstream>

#include "client/Client.h"
#include "client/ControlExchange.h"
#include "client/QueryResults.h"
#include "log/Log.h"
#include "protocol/AlarmMessages.h"
#include "protocol/PolicyMessages.h"
#include "util/FieldText.h"

namespace kerrow {
namespace {

constexpr int16_t kRecordTypeScheduleOnce = 2;  // sent with cron type 0
constexpr int16_t kRecordTypeManual = 3;        // the manual-recording form

const ControlTexts kAddPolicy{"新增策略 发送xml命令：", "新增策略 失败！",        "新增策略 成功",
                              "新增策略失败 err：",     "新增策略超时，连接id：", 100};
// Modify status deliberately reuses the add-policy send-failure text.
const ControlTexts kModifyPolicy{"修改策略状态 发送xml命令：", "新增策略 失败！",
                                 "修改策略状态 成功",          "修改策略状态失败 err：",
                                 "修改策略状态超时，连接id：", 103};
const ControlTexts kDeletePolicy{"删除策略状态 发送xml命令：", "删除策略状态 失败！",
                                 "删除策略状态 成功",          "删除策略状态失败 err：",
                                 "删除策略状态超时，连接id：", 104};
const ControlTexts kDeleteAll{"删除全部策略 发送xml命令：", "删除全部策略 失败！",
                              "删除全部策略状态 成功",      "删除全部策略状态失败 err：",
                              "删除全部策略超时，连接id：", 104};
const ControlTexts kAddTask{"往策略增加一条任务 发送xml命令：", "往策略增加一条任务 失败！",
                            "往策略增加一条任务 成功",          "往策略增加一条任务err：",
                            "往策略增加一条任务超时，连接id：", 107};
const ControlTexts kDeleteTask{"删除策略的一条任务 发送xml命令：", "删除策略的一条任务 失败！",
                               "删除策略的一条任务 成功",          "删除策略的一条任务 err：",
                               "删除策略的一条任务超时，连接id：", 106};
const ControlTexts kModifyTask{"修改策略的一条任务 发送xml命令：", "修改策略的一条任务 失败！",
                               "修改策略的一条任务 成功",          "修改策略的一条任务 err：",
                               "修改策略的一条任务超时，连接id：", 105};
const ControlTexts kQueryPolicies{"查询策略 发送xml命令：", "查询策略 失败！",        "",
                                  "查找策略失败 err：",     "查找策略超时，连接id：", 101};
const ControlTexts kQueryTasks{"查询策略任务 发送xml命令：", "查询策略任务 失败！",        "",
                               "查找策略任务失败 err：",     "查找策略任务超时，连接id：", 102};

// The add-policy request's task texts: year four digits and month two
// (000903), hour and minute two digits each (0705).
std::string Padded(std::ostringstream& stream, unsigned first, int firstWidth, unsigned second) {
    stream.str("");
    stream.fill('0');
    stream.width(firstWidth);
    stream << first;
    stream.width(2);
    stream << second;
    return stream.str();
}

}  // namespace

int32_t Client::AddPolicy(const RecordPolicy& policy) {
    AddPolicyRequest request;
    request.cameraGuid = FieldText(record_.cameraId);
    request.preRecord = record_.preRecord;
    request.maxRecordTime = static_cast<uint16_t>(policy.maxRecordTime);
    request.recordType = static_cast<int16_t>(policy.recordType);
    request.cronType = request.recordType == kRecordTypeScheduleOnce
                           ? int16_t{0}
                           : static_cast<int16_t>(policy.cronType);
    std::ostringstream stream;
    for (const PolicyTask& task : policy.tasks) {
        PolicyTaskEntry entry;
        entry.startYearMonth = Padded(stream, task.startYear, 4, task.startMonth);
        entry.startDay = static_cast<uint32_t>(task.startDay);
        entry.dayOfWeek = static_cast<uint16_t>(task.dayOfWeek);
        entry.startTime = Padded(stream, task.startHour, 2, task.startMinute);
        entry.endYearMonth = Padded(stream, task.endYear, 4, task.endMonth);
        entry.endDay = task.endDay;
        entry.endTime = Padded(stream, task.endHour, 2, task.endMinute);
        request.tasks.push_back(entry);
    }
    // The count sent is the number of tasks in the list, not taskCount.
    request.taskCount = static_cast<uint16_t>(request.tasks.size());

    std::string text;
    if (request.recordType == kRecordTypeManual) {
        BuildPolicyStartType3Request(request, text);
    } else {
        BuildPolicyStartRequest(request, text);
    }
    return RunControl(text, kAddPolicy);
}

int32_t Client::ModifyPolicyStatus(const PolicySelector& selector) {
    std::string request;
    BuildPolicyModifyRequest(selector, request);
    return RunControl(request, kModifyPolicy);
}

int32_t Client::DeletePolicy(const PolicySelector& selector) {
    std::string request;
    BuildPolicyDelRequest(selector, request);
    return RunControl(request, kDeletePolicy);
}

int32_t Client::DeleteAllPolicies(const PolicySelector& selector) {
    std::string request;
    BuildPolicyDelAllRequest(selector, request);
    return RunControl(request, kDeleteAll);
}

int32_t Client::AddTask(const TaskRequest& task) {
    std::string request;
    BuildAddTaskRequest(task, request);
    return RunControl(request, kAddTask);
}

int32_t Client::DeleteTask(const TaskRequest& task) {
    std::string request;
    BuildDelTaskRequest(task, request);
    return RunControl(request, kDeleteTask);
}

int32_t Client::ModifyTask(const TaskRequest& task) {
    std::string request;
    BuildModifyTaskRequest(task, request);
    return RunControl(request, kModifyTask);
}

// The reply's own result code is not examined: whatever entries it holds are
// returned.
int32_t Client::QueryPolicies(const PolicyQuery& query, std::list<RecordPolicy>& result) {
    std::string request;
    BuildPolicyQueryRequest(query, request);
    std::unique_ptr<TiXmlDocument> document;
    int32_t code = RunDocumentExchange(request, kQueryPolicies, false, document);
    if (!document) return code;
    ListReply<PolicyEntry> reply;
    ParsePolicyQueryReply(*document, reply);
    for (const PolicyEntry& entry : reply.Items) AppendPolicy(entry, result);
    return kResultOk;
}

int32_t Client::QueryTasks(const TaskQuery& query, std::list<PolicyTaskInfo>& result) {
    std::string request;
    BuildTaskQueryRequest(query, request);
    std::unique_ptr<TiXmlDocument> document;
    int32_t code = RunDocumentExchange(request, kQueryTasks, false, document);
    if (!document) return code;
    ListReply<TaskRecord> reply;
    ParseTaskQueryReply(*document, reply);
    for (const TaskRecord& record : reply.Items) AppendTask(record, result);
    return kResultOk;
}

}  // namespace kerrow
