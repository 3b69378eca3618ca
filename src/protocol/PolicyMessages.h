// The record-policy requests (create, change and delete policies and their
// tasks, query policies and tasks) and the readers of the two query replies.
#pragma once

#include <string>

#include "protocol/Records.h"

class TiXmlDocument;

namespace kerrow {

// RecordPolicy_Start, full form (103): the policy with all its tasks.
void BuildPolicyStartRequest(const AddPolicyRequest& policy, std::string& out);
void BuildPolicyModifyRequest(const PolicySelector& selector, std::string& out);  // 104
void BuildPolicyDelRequest(const PolicySelector& selector, std::string& out);     // 105
void BuildAddTaskRequest(const TaskRequest& task, std::string& out);              // 106
void BuildModifyTaskRequest(const TaskRequest& task, std::string& out);           // 107
void BuildDelTaskRequest(const TaskRequest& task, std::string& out);              // 108
void BuildPolicyDelAllRequest(const PolicySelector& selector, std::string& out);  // 113
void BuildPolicyQueryRequest(const PolicyQuery& query, std::string& out);         // 200
void BuildTaskQueryRequest(const TaskQuery& query, std::string& out);             // 201

// The RecordPolicy_Query reply: policies with their tasks. A reply without
// TotalResult holds no policies; a policy announcing tasks that has none
// fails the reply (-1), keeping the policies read before it.
int ParsePolicyQueryReply(const TiXmlDocument& document, ListReply<PolicyEntry>& reply);

// The RecordPolicy_QueryTask reply; -1 when its TotalResult or, with a
// positive total, its first Task is missing.
int ParseTaskQueryReply(const TiXmlDocument& document, ListReply<TaskRecord>& reply);

}  // namespace kerrow
