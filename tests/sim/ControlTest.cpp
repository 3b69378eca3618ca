// Control requests of the library answered by the simulator's store:
// cameras, policies and tasks, alarms and manual recording, the catalogue,
// and the state found again after a restart.
#include "SimHarness.h"

namespace kerrow::simtest {
namespace {

PolicyTask MakeTask(uint16_t startHour, uint16_t endHour) {
    PolicyTask task{};
    task.startYear = task.endYear = 2026;
    task.startMonth = task.endMonth = 11;
    task.startDay = 5;
    task.endDay = 17;
    task.startHour = startHour;
    task.endHour = endHour;
    task.dayOfWeek = 3;
    return task;
}

std::list<RecordPolicy> Policies(uint32_t connection, const char* camera) {
    std::list<RecordPolicy> policies;
    EXPECT_EQ(0, Kerrow_RecordPolicy_Query(connection, camera, 0, &policies));
    return policies;
}

std::list<PolicyTaskInfo> Tasks(uint32_t connection, const char* camera, uint16_t recordType) {
    std::list<PolicyTaskInfo> tasks;
    EXPECT_EQ(0, Kerrow_RecordPolicy_QueryTask(connection, camera, recordType, 0xFFFF, &tasks));
    return tasks;
}

using SimControl = SimTest;

TEST_F(SimControl, CamerasPoliciesAndTasksEndToEnd) {
    StartSim(false);
    uint32_t c = Connect("cam-p");
    EXPECT_EQ(99, Kerrow_MdyDevice(c)) << "an unknown camera cannot be modified";
    EXPECT_EQ(0, Kerrow_AddDevice(c));
    EXPECT_EQ(0, Kerrow_MdyDevice(c));

    RecordPolicy policy{};
    policy.recordType = 1;
    policy.cronType = 2;
    policy.tasks = {MakeTask(8, 12), MakeTask(14, 18)};
    ASSERT_EQ(0, Kerrow_RecordPolicy_Start(c, &policy));
    auto policies = Policies(c, "cam-p");
    ASSERT_EQ(1u, policies.size());
    RecordPolicy stored = policies.front();
    EXPECT_STREQ("cam-p", stored.cameraGuid);
    EXPECT_EQ(1, stored.recordType);
    EXPECT_EQ(2, stored.cronType);
    EXPECT_EQ(3, stored.policyStatus);
    ASSERT_EQ(2u, stored.tasks.size());
    EXPECT_EQ(8, stored.tasks.front().startHour);
    EXPECT_EQ(5, stored.tasks.front().startDay);
    EXPECT_EQ(17, stored.tasks.front().endDay);
    const uint32_t id = stored.policyId;
    const uint32_t first = stored.tasks.front().taskId, second = stored.tasks.back().taskId;

    EXPECT_EQ(0, Kerrow_RecordPolicy_Modify(c, id, 1));
    EXPECT_EQ(1, Policies(c, "cam-p").front().policyStatus);
    PolicyTask added = MakeTask(20, 22);
    EXPECT_EQ(0, Kerrow_RecordPolicy_AddTask(c, id, &added));
    PolicyTask changed = MakeTask(9, 11);
    changed.taskId = first;
    EXPECT_EQ(0, Kerrow_RecordPolicy_ModifyTask(c, id, &changed));
    EXPECT_EQ(0, Kerrow_RecordPolicy_DelTask(c, id, second));
    stored = Policies(c, "cam-p").front();
    ASSERT_EQ(2u, stored.tasks.size());
    EXPECT_EQ(first, stored.tasks.front().taskId);
    EXPECT_EQ(9, stored.tasks.front().startHour);
    EXPECT_EQ(20, stored.tasks.back().startHour);
    EXPECT_EQ(2u, Tasks(c, "cam-p", 1).size());
    EXPECT_EQ(0u, Tasks(c, "cam-p", 2).size()) << "the record type criterion selects";

    // Unknown ids are refused with the operation's failure code.
    EXPECT_EQ(103, Kerrow_RecordPolicy_Modify(c, id + 100, 1));
    EXPECT_EQ(104, Kerrow_RecordPolicy_Del(c, id + 100));
    EXPECT_EQ(106, Kerrow_RecordPolicy_DelTask(c, id, second));
    EXPECT_EQ(107, Kerrow_RecordPolicy_AddTask(c, id + 100, &added));

    EXPECT_EQ(0, Kerrow_RecordPolicy_Del(c, id));
    EXPECT_TRUE(Policies(c, "cam-p").empty());
    ASSERT_EQ(0, Kerrow_RecordPolicy_Start(c, &policy));
    ASSERT_EQ(0, Kerrow_RecordPolicy_Start(c, &policy));
    EXPECT_EQ(2u, Policies(c, "cam-p").size());
    EXPECT_EQ(0, Kerrow_RecordPolicy_DelAll(c, "cam-p"));
    EXPECT_TRUE(Policies(c, "cam-p").empty());

    EXPECT_EQ(0, Kerrow_DelDevice(c));
    EXPECT_EQ(100, Kerrow_RecordPolicy_Start(c, &policy)) << "the camera is gone";

    // The journal shows each request with its decoded fields and its Code.
    const std::string journal = ReadFile(journal_);
    EXPECT_NE(std::string::npos,
              journal.find(R"("method":100,"kind":"AddDevice","fields":{"Control/Camera/GUID":)"
                           R"("cam-p")"));
    EXPECT_NE(std::string::npos, journal.find(R"("code":2,"outcome":"unknown camera")"));
}

// An alarm and a manual recording each run a recording task that the task
// query reports and that ends (on time, or when stopped) in a stored file.
TEST_F(SimControl, AlarmAndManualRecordingsEndInFiles) {
    StartSim(false);
    uint32_t c = Connect("cam-a");
    ASSERT_EQ(0, Kerrow_AddDevice(c));

    AlarmInput alarm{};
    std::strcpy(alarm.alarmType, "motion");
    alarm.alarmTime = Now();
    alarm.maxRecordTime = 1;
    ASSERT_EQ(0, Kerrow_RecordPolicy_Alarm(c, &alarm));
    auto tasks = Tasks(c, "cam-a", 2);
    ASSERT_EQ(1u, tasks.size());
    EXPECT_STREQ("motion", tasks.front().alarmType);
    ASSERT_TRUE(WaitUntil([&] { return Files(c, "cam-a", 2).size() == 1; }))
        << "the one-second alarm recording ends by itself";
    tasks = Tasks(c, "cam-a", 2);
    ASSERT_EQ(1u, tasks.size());
    VideoFileInfo file = Files(c, "cam-a", 2).front();
    EXPECT_GT(file.fileSize, 0);
    EXPECT_EQ(file.fileSize, tasks.front().fileSize);

    // A long alarm ends when it is cleared; a manual recording when stopped.
    alarm.maxRecordTime = 100;
    ASSERT_EQ(0, Kerrow_RecordPolicy_Alarm(c, &alarm));
    EXPECT_EQ(0, Kerrow_Stop_Alarm(c, "cam-a"));
    EXPECT_TRUE(WaitUntil([&] { return Files(c, "cam-a", 2).size() == 2; }, 3000));
    RecordPolicy manual{};
    manual.recordType = 3;
    manual.maxRecordTime = 100;
    ASSERT_EQ(0, Kerrow_RecordPolicy_Start(c, &manual));
    EXPECT_EQ(1u, Tasks(c, "cam-a", 3).size());
    EXPECT_EQ(0, Kerrow_RecordPolicy_StopTask(c, 0, 0));
    EXPECT_TRUE(WaitUntil([&] { return Files(c, "cam-a", 3).size() == 1; }, 3000));
    EXPECT_EQ(108, Kerrow_RecordPolicy_StopTaskEx(c, "no-such-camera"));
}

TEST_F(SimControl, CatalogueProtectsDeletesAndSurvivesARestart) {
    StartSim(true);
    uint32_t c = Connect("cam-1");
    auto files = Files(c, "cam-1", 1);
    ASSERT_EQ(3u, files.size()) << "the seed records three files of cam-1";
    for (const auto& file : files) {
        EXPECT_EQ(0, file.filePermission);
        EXPECT_EQ(static_cast<size_t>(file.fileSize), StoredBytes(Name(file)).size());
    }
    const std::string name = Name(files.front());
    EXPECT_EQ(0, Kerrow_ModifyFilePermission(c, name.c_str(), 1));
    EXPECT_EQ(1, Files(c, "cam-1", 1).front().filePermission);
    EXPECT_EQ(206, Kerrow_DeleteFile(c, name.c_str())) << "a protected file stays";
    EXPECT_EQ(3u, Files(c, "cam-1", 1).size());
    EXPECT_EQ(0, Kerrow_ModifyFilePermission(c, name.c_str(), 0));
    EXPECT_EQ(0, Kerrow_DeleteFile(c, name.c_str()));
    EXPECT_EQ(2u, Files(c, "cam-1", 1).size());
    EXPECT_EQ(206, Kerrow_DeleteFile(c, name.c_str())) << "it is gone";
    EXPECT_EQ(204, Kerrow_ModifyFilePermission(c, name.c_str(), 1));

    RecordPolicy policy{};
    policy.recordType = 1;
    policy.tasks = {MakeTask(1, 2)};
    ASSERT_EQ(0, Kerrow_RecordPolicy_Start(c, &policy));
    const std::string protectedName = Name(Files(c, "cam-1", 1).back());
    ASSERT_EQ(0, Kerrow_ModifyFilePermission(c, protectedName.c_str(), 1));

    // A restart on the same data directory, without --seed effect.
    for (uint32_t connection : connections_) Kerrow_Disconnect(connection);
    connections_.clear();
    StopSim();
    StartSim(true);
    c = Connect("cam-1");
    files = Files(c, "cam-1", 1);
    ASSERT_EQ(2u, files.size()) << "the deleted file stays deleted, nothing is seeded again";
    EXPECT_EQ(protectedName, Name(files.back()));
    EXPECT_EQ(1, files.back().filePermission);
    auto policies = Policies(c, "cam-1");
    ASSERT_EQ(1u, policies.size());
    EXPECT_EQ(1u, policies.front().tasks.size());
    EXPECT_EQ(0, Kerrow_MdyDevice(c)) << "the seeded camera is still registered";
}

}  // namespace
}  // namespace kerrow::simtest
