// Record policies and schedule tasks: ids, the queries' criteria, edits.
#include "StoreFixture.h"

namespace kerrow::sim::test {
namespace {

PolicyTaskEntry Schedule(const std::string& yearMonth, uint32_t day, const std::string& time) {
    PolicyTaskEntry t;
    t.startYearMonth = t.endYearMonth = yearMonth;
    t.startDay = day;
    t.endDay = static_cast<uint16_t>(day);
    t.dayOfWeek = 3;
    t.startTime = time;
    t.endTime = "2359";
    return t;
}

class SimPolicyTest : public SimStoreTest {
  protected:
    void SetUp() override {
        SimStoreTest::SetUp();
        ASSERT_EQ(store_->AddCamera(Camera("a"), now_), kStoreOk);
        ASSERT_EQ(store_->AddCamera(Camera("b"), now_), kStoreOk);
        p1_ = Add("a", 1, 1, {Schedule("202611", 5, "0800"), Schedule("202612", 17, "0930")});
        p2_ = Add("a", 2, 5, {});
        p3_ = Add("b", 1, 2, {Schedule("202701", 1, "0000")});
    }
    uint32_t Add(const std::string& camera, int16_t type, int16_t cron,
                 std::vector<PolicyTaskEntry> tasks) {
        AddPolicyRequest r;
        r.cameraGuid = camera;
        r.recordType = type;
        r.cronType = cron;
        r.taskCount = static_cast<uint16_t>(tasks.size());
        r.tasks = std::move(tasks);
        uint32_t id = 0;
        EXPECT_EQ(store_->AddPolicy(r, now_, &id), kStoreOk);
        return id;
    }
    // "policy:task,task" for each policy found.
    std::string Policies(const std::string& camera, int16_t type) {
        std::vector<PolicyEntry> out;
        EXPECT_EQ(store_->QueryPolicies(PolicyQuery{2, camera, type}, &out), kStoreOk);
        std::string s;
        for (const PolicyEntry& p : out) {
            s += (s.empty() ? "" : " ") + std::to_string(p.policyId) + ":";
            for (const PolicyTaskItem& t : p.tasks) {
                s += std::to_string(t.taskId) + ",";
            }
        }
        return s;
    }
    std::vector<TaskRecord> Tasks(const std::string& camera, int16_t type, int16_t cron) {
        std::vector<TaskRecord> out;
        EXPECT_EQ(store_->QueryTasks(TaskQuery{3, camera, type, cron}, &out), kStoreOk);
        return out;
    }
    uint32_t p1_ = 0, p2_ = 0, p3_ = 0;
};

TEST_F(SimPolicyTest, QueriesMatchTheirCriteria) {
    EXPECT_EQ(Policies("", -1), "1:1,2, 2: 3:3,");
    EXPECT_EQ(Policies("", 0), "1:1,2, 2: 3:3,") << "record type 0 is no criterion";
    EXPECT_EQ(Policies("a", -1), "1:1,2, 2:");
    EXPECT_EQ(Policies("a", 1), "1:1,2,");
    EXPECT_EQ(Policies("", 2), "2:");
    EXPECT_EQ(Policies("c", -1), "");

    uint32_t alarmTask = 0;
    AlarmRequest alarm;
    alarm.camera = Camera("b");
    alarm.alarmType = "door";
    ASSERT_EQ(store_->RaiseAlarm(alarm, now_, &alarmTask), kStoreOk);
    EXPECT_EQ(alarmTask, 4u) << "recording tasks share the task ids";
    struct Case {
        std::string camera;
        int16_t type, cron;
        std::vector<uint32_t> ids;
    };
    const Case cases[] = {
        {"", -1, -1, {1, 2, 3, 4}},
        {"a", -1, -1, {1, 2}},
        {"", 1, -1, {1, 2, 3}},
        {"", 1, 2, {3}},
        {"", 2, -1, {4}},
        {"", -1, 0, {4}},
        {"b", 2, 0, {4}},
        {"a", 2, -1, {}},
        {"", 3, -1, {}},
    };
    for (const Case& c : cases) {
        std::vector<uint32_t> ids;
        for (const TaskRecord& t : Tasks(c.camera, c.type, c.cron)) {
            ids.push_back(t.taskId);
        }
        EXPECT_EQ(ids, c.ids) << c.camera << " " << c.type << " " << c.cron;
    }
    // The policies as queried back, and a schedule task as a task record.
    std::vector<PolicyEntry> policies;
    ASSERT_EQ(store_->QueryPolicies(PolicyQuery{1, "a", -1}, &policies), kStoreOk);
    const std::string created = FormatWallTime(now_);
    EXPECT_EQ(Dump(policies), "1 a 1 1 3 " + created + " " + created + " 2\n" +
                                  "  1 202611 5 3 0800 202611 5 2359 0\n" +
                                  "  2 202612 17 3 0930 202612 17 2359 0\n" + "2 a 2 0 3 " +
                                  created + " " + created + " 0\n")
        << "an alarm policy has cron type 0";
    EXPECT_EQ(Dump(Tasks("a", 1, 1)),
              "1 a   1 1 3 2026-11-05 08:00:00 2026-11-05 23:59:00  0 0\n"
              "2 a   1 1 3 2026-12-17 09:30:00 2026-12-17 23:59:00  0 0\n");
}

TEST_F(SimPolicyTest, EditsReachOnlyWhatExists) {
    uint32_t recording = 0;
    AddPolicyRequest manual;
    manual.cameraGuid = "a";
    manual.maxRecordTime = 10;
    ASSERT_EQ(store_->StartManualRecording(manual, now_, &recording), kStoreOk);
    auto task = [](uint32_t policy, uint32_t id) {
        TaskRequest t;
        t.policyId = policy;
        t.taskId = id;
        t.startYearMonth = "202703";
        t.startDay = 9;
        t.startTime = "1010";
        return t;
    };
    const int64_t later = now_ + 60;
    struct Step {
        const char* what;
        StoreResult result;
        std::string policies;  // Policies("", -1) afterwards
    };
    int n = 0;
    auto check = [&](StoreResult got, const Step& s) {
        SCOPED_TRACE(std::to_string(n++) + " " + s.what);
        EXPECT_EQ(got, s.result);
        EXPECT_EQ(Policies("", -1), s.policies);
    };
    uint32_t added = 0;
    check(store_->ModifyPolicy(PolicySelector{"", p1_, 1}, later),
          {"status", kStoreOk, "1:1,2, 2: 3:3,"});
    check(store_->ModifyPolicy(PolicySelector{"", 99, 1}, later),
          {"status of none", kUnknownPolicy, "1:1,2, 2: 3:3,"});
    check(store_->AddTask(task(p3_, 0), later, &added), {"add task", kStoreOk, "1:1,2, 2: 3:3,5,"});
    EXPECT_EQ(added, 5u);
    check(store_->AddTask(task(99, 0), later, nullptr),
          {"add to none", kUnknownPolicy, "1:1,2, 2: 3:3,5,"});
    check(store_->ModifyTask(task(0, 1), later), {"modify", kStoreOk, "1:1,2, 2: 3:3,5,"});
    check(store_->ModifyTask(task(0, recording), later),
          {"modify a recording", kUnknownTask, "1:1,2, 2: 3:3,5,"});
    check(store_->DeleteTask(task(0, 2), later), {"delete task", kStoreOk, "1:1, 2: 3:3,5,"});
    check(store_->DeleteTask(task(0, 2), later), {"again", kUnknownTask, "1:1, 2: 3:3,5,"});
    check(store_->DeleteTask(task(0, recording), later),
          {"delete a recording", kUnknownTask, "1:1, 2: 3:3,5,"});
    check(store_->DeletePolicy(PolicySelector{"", p1_, 0}), {"delete", kStoreOk, "2: 3:3,5,"});
    check(store_->DeletePolicy(PolicySelector{"", p1_, 0}), {"again", kUnknownPolicy, "2: 3:3,5,"});
    check(store_->DeleteAllPolicies(PolicySelector{"b", 0, 0}), {"all of b", kStoreOk, "2:"});
    check(store_->DeleteAllPolicies(PolicySelector{"c", 0, 0}),
          {"all of none", kUnknownCamera, "2:"});
    AddPolicyRequest orphan;
    orphan.cameraGuid = "c";
    check(store_->AddPolicy(orphan, later, nullptr), {"unknown camera", kUnknownCamera, "2:"});

    // What the edits left: the modified task, the status, the times, and
    // the tasks of deleted policies gone from the task query.
    std::vector<PolicyEntry> policies;
    ASSERT_EQ(store_->QueryPolicies(PolicyQuery{0, "", -1}, &policies), kStoreOk);
    ASSERT_EQ(policies.size(), 1u);
    EXPECT_EQ(Dump(Tasks("", -1, -1)).substr(0, 4), std::to_string(recording) + " a ");
    EXPECT_EQ(Tasks("", -1, -1).size(), 1u);
    EXPECT_EQ(Add("a", 1, 1, {}), 4u) << "policy ids are not given again";
    ASSERT_EQ(store_->ModifyPolicy(PolicySelector{"", 4, 4}, later), kStoreOk);
    policies.clear();
    ASSERT_EQ(store_->QueryPolicies(PolicyQuery{1, "a", 1}, &policies), kStoreOk);
    ASSERT_EQ(policies.size(), 1u);
    EXPECT_EQ(policies[0].policyStatus, 4);
    EXPECT_EQ(policies[0].updateTime, FormatWallTime(later));
}

}  // namespace
}  // namespace kerrow::sim::test
