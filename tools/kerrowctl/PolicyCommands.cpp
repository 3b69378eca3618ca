// policy add|modify|delete|delete-all|query and task add|modify|delete|query:
// the record policies of the camera and their scheduled tasks.
#include <iostream>

#include "Ctl.h"

namespace kerrowctl {

namespace {

struct PolicyArgs {
    uint32_t policy = 0;
    uint32_t task = 0;
    int recordType = 1;
    int cronType = 0;
    int status = 0;
    uint32_t maxRecord = 0;
    std::vector<std::string> spans;  // "FROM/TO"
    std::string from, to;
    uint32_t days = 0x7F;
    int queryRecordType = -1;
    int queryCronType = -1;
};

kerrow::Task taskOf(const std::string& from, const std::string& to, uint32_t days) {
    if (from.empty() || to.empty()) throw Usage("a task needs --from and --to");
    kerrow::Task t;
    t.start = parseTime(from);
    t.end = parseTime(to);
    t.daysOfWeek = days;
    return t;
}

void addTaskTimes(CLI::App* cmd, PolicyArgs& a) {
    cmd->add_option("--from", a.from, "task start (YYYY-MM-DD HH:MM, now, -1h)")->required();
    cmd->add_option("--to", a.to, "task end")->required();
    cmd->add_option("--days", a.days, "days of the week, a bit mask (1 Monday .. 64 Sunday)")
        ->capture_default_str();
}

void printPolicies(Context& ctx, const std::vector<kerrow::Policy>& found) {
    json doc = json::array();
    for (const auto& p : found) doc.push_back(toJson(p));
    ctx.print(doc, [&] {
        std::vector<std::vector<std::string>> rows;
        for (const auto& p : found) {
            rows.push_back({std::to_string(p.id), p.cameraGuid, std::to_string(p.recordType),
                            std::to_string(p.cronType), std::to_string(p.status),
                            std::to_string(p.tasks.size()), timeText(p.created)});
        }
        printTable({"POLICY", "CAMERA", "RECORD", "CRON", "STATUS", "TASKS", "CREATED"}, rows);
    });
}

void printTasks(Context& ctx, const std::vector<kerrow::TaskInfo>& found) {
    json doc = json::array();
    for (const auto& t : found) doc.push_back(toJson(t));
    ctx.print(doc, [&] {
        std::vector<std::vector<std::string>> rows;
        for (const auto& t : found) {
            rows.push_back({std::to_string(t.id), t.cameraGuid, std::to_string(t.recordType),
                            std::to_string(t.cronType), std::to_string(t.dayOfWeek),
                            timeText(t.start), timeText(t.end), std::to_string(t.status)});
        }
        printTable({"TASK", "CAMERA", "RECORD", "CRON", "DAYS", "START", "END", "STATUS"}, rows);
    });
}

}  // namespace

void addPolicyCommands(CLI::App& app, Context& ctx, Action& action) {
    static PolicyArgs a;
    auto* policy = app.add_subcommand("policy", "record policies of the camera");
    policy->require_subcommand(1);

    auto* add = policy->add_subcommand("add", "add a record policy with its tasks");
    add->add_option("--record-type", a.recordType, "record type (3: manual, for --max-record)")
        ->capture_default_str();
    add->add_option("--cron-type", a.cronType, "repetition type")->capture_default_str();
    add->add_option("--max-record", a.maxRecord, "seconds to record (record type 3)");
    add->add_option("--task", a.spans, "a task as 'FROM/TO' (repeatable)");
    add->add_option("--days", a.days, "days of the week of every task, a bit mask")
        ->capture_default_str();
    add->callback([&] {
        action = [&] {
            kerrow::Policy p;
            p.recordType = a.recordType;
            p.cronType = a.cronType;
            p.maxRecordTime = a.maxRecord;
            for (const auto& span : a.spans) {
                const auto slash = span.find('/');
                if (slash == std::string::npos) throw Usage("--task wants FROM/TO: " + span);
                p.tasks.push_back(taskOf(span.substr(0, slash), span.substr(slash + 1), a.days));
            }
            ctx.connect().addPolicy(p);
            ctx.done("policy added to " + ctx.g.camera + " with " + std::to_string(p.tasks.size()) +
                     " task(s)");
        };
    });

    auto* modify = policy->add_subcommand("modify", "change a policy's status");
    modify->add_option("POLICY", a.policy, "policy id")->required();
    modify->add_option("--status", a.status, "new status")->required();
    modify->callback([&] {
        action = [&] {
            ctx.connect().modifyPolicy(a.policy, static_cast<uint16_t>(a.status));
            ctx.done("policy " + std::to_string(a.policy) + " status " + std::to_string(a.status));
        };
    });

    auto* del = policy->add_subcommand("delete", "delete one policy");
    del->add_option("POLICY", a.policy, "policy id")->required();
    del->callback([&] {
        action = [&] {
            ctx.connect().deletePolicy(a.policy);
            ctx.done("policy " + std::to_string(a.policy) + " deleted");
        };
    });

    policy->add_subcommand("delete-all", "delete every policy of the camera")->callback([&] {
        action = [&] {
            ctx.connect().deleteAllPolicies();
            ctx.done("all policies of " + ctx.g.camera + " deleted");
        };
    });

    auto* query = policy->add_subcommand("query", "list the camera's policies and their tasks");
    query->add_option("--record-type", a.queryRecordType, "only this record type");
    query->callback([&] {
        action = [&] {
            const uint32_t type =
                a.queryRecordType < 0 ? 0 : static_cast<uint32_t>(a.queryRecordType);
            printPolicies(ctx, ctx.connect().policies(type));
        };
    });

    auto* task = app.add_subcommand("task", "scheduled tasks of record policies");
    task->require_subcommand(1);
    auto* tadd = task->add_subcommand("add", "add a task to a policy");
    tadd->add_option("POLICY", a.policy, "policy id")->required();
    addTaskTimes(tadd, a);
    tadd->callback([&] {
        action = [&] {
            ctx.connect().addTask(a.policy, taskOf(a.from, a.to, a.days));
            ctx.done("task added to policy " + std::to_string(a.policy));
        };
    });
    auto* tmod = task->add_subcommand("modify", "change a task");
    tmod->add_option("POLICY", a.policy, "policy id")->required();
    tmod->add_option("TASK", a.task, "task id")->required();
    addTaskTimes(tmod, a);
    tmod->callback([&] {
        action = [&] {
            kerrow::Task t = taskOf(a.from, a.to, a.days);
            t.id = a.task;
            ctx.connect().modifyTask(a.policy, t);
            ctx.done("task " + std::to_string(a.task) + " modified");
        };
    });
    auto* tdel = task->add_subcommand("delete", "delete a task");
    tdel->add_option("POLICY", a.policy, "policy id")->required();
    tdel->add_option("TASK", a.task, "task id")->required();
    tdel->callback([&] {
        action = [&] {
            ctx.connect().deleteTask(a.policy, a.task);
            ctx.done("task " + std::to_string(a.task) + " deleted");
        };
    });
    auto* tquery = task->add_subcommand("query", "list the camera's tasks");
    tquery->add_option("--record-type", a.queryRecordType, "only this record type");
    tquery->add_option("--cron-type", a.queryCronType, "only this repetition type");
    tquery->callback([&] {
        action = [&] {
            auto pick = [](int v) { return static_cast<uint16_t>(v < 0 ? 0xFFFF : v); };
            printTasks(ctx, ctx.connect().tasks(pick(a.queryRecordType), pick(a.queryCronType)));
        };
    });
}

}  // namespace kerrowctl
