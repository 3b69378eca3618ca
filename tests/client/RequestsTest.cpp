// The exact request that each operation puts on the wire, for realistic calls
// through the exports: what the export and the operation put into the record
// (camera fields from the connection, forced and dropped values, task texts,
// file-name splitting, criterion counts).
#include "client/ClientTesting.h"

namespace kerrow::test {
namespace {

struct RequestCase {
    const char* what;
    std::function<int(uint32_t)> call;
    std::string expected;
};

class ClientRequests : public Session {
  protected:
    void ExpectRequests(const std::vector<RequestCase>& cases) {
        AnswerEverythingWithSuccess();
        for (const RequestCase& c : cases) {
            const size_t before = server_.Requests().size();
            EXPECT_EQ(0, c.call(conn_)) << c.what;
            ASSERT_EQ(before + 1, server_.Requests().size()) << c.what << ": one request per call";
            EXPECT_EQ(c.expected, LastRequest()) << c.what;
        }
    }
};

Lines Wrapped(const char* outer, const char* inner, const Lines& children) {
    return Lines{std::string("    <") + outer + ">", std::string("        <") + inner + ">"} +
           children +
           Lines{std::string("        </") + inner + ">", std::string("    </") + outer + ">"};
}

TEST_F(ClientRequests, CameraOperationsSendTheConnectionsCameraWithoutItsName) {
    ExpectRequests({
        {"AddDevice", [](uint32_t c) { return Kerrow_AddDevice(c); },
         Expected(100, Wrapped("Control", "Camera", CameraLines("", "10")))},
        {"MdyDevice", [](uint32_t c) { return Kerrow_MdyDevice(c); },
         Expected(101, Wrapped("Modify", "Camera", CameraLines("", "10")))},
        {"DelDevice", [](uint32_t c) { return Kerrow_DelDevice(c); },
         Expected(102,
                  Wrapped("Modify", "Camera", {"            <GUID>34020000001310000001</GUID>"}))},
    });
}

TEST_F(ClientRequests, PolicyStartTakesTheConnectionsCameraAndItsTaskList) {
    const Lines firstTask = {
        "                <Task>",
        "                    <PolicyID>0</PolicyID>",
        "                    <StartYearMonth>000903</StartYearMonth>",
        "                    <StartDay>05</StartDay>",
        "                    <DayofWeek>3</DayofWeek>",
        "                    <StartTime>0705</StartTime>",
        "                    <EndYearMonth>202412</EndYearMonth>",
        "                    <EndDay>17</EndDay>",
        "                    <EndTime>2330</EndTime>",
        "                    <Status>0</Status>",
        "                </Task>",
    };
    const Lines secondTask = {
        "                <Task>",
        "                    <PolicyID>0</PolicyID>",
        "                    <StartYearMonth>202411</StartYearMonth>",
        "                    <StartDay>17</StartDay>",
        "                    <DayofWeek>127</DayofWeek>",
        "                    <StartTime>1845</StartTime>",
        "                    <EndYearMonth>202412</EndYearMonth>",
        "                    <EndDay>5</EndDay>",
        "                    <EndTime>2330</EndTime>",
        "                    <Status>0</Status>",
        "                </Task>",
    };
    auto policyLines = [](const char* recordType, const char* cronType, const char* count) {
        return Lines{
            "            <ID>0</ID>",
            "            <CameraGUID>34020000001310000001</CameraGUID>",
            std::string("            <RecordType>") + recordType + "</RecordType>",
            "            <PolicyStatus>3</PolicyStatus>",
            std::string("            <CronType>") + cronType + "</CronType>",
            std::string("            <Tasksnum>") + count + "</Tasksnum>",
        };
    };
    ExpectRequests({
        {"record type 2: cron type forced to 0, both tasks, count from the list",
         [](uint32_t c) {
             RecordPolicy policy = SamplePolicy(2);
             return Kerrow_RecordPolicy_Start(c, &policy);
         },
         Expected(103, Wrapped("Control", "RecordPolicy",
                               policyLines("2", "0", "2") + Lines{"            <Tasks>"} +
                                   firstTask + secondTask + Lines{"            </Tasks>"}))},
        {"record type 1 without tasks keeps its cron type",
         [](uint32_t c) {
             RecordPolicy policy = SamplePolicy(1);
             policy.tasks.clear();
             return Kerrow_RecordPolicy_Start(c, &policy);
         },
         Expected(103, Wrapped("Control", "RecordPolicy", policyLines("1", "5", "0")))},
        {"record type 3: the manual-recording form, low 16 bits of 70000",
         [](uint32_t c) {
             RecordPolicy policy = SamplePolicy(3);
             return Kerrow_RecordPolicy_Start(c, &policy);
         },
         Expected(111, {"    <Control>", "        <CameraGUID>34020000001310000001</CameraGUID>",
                        "        <MaxRecordTime>4464</MaxRecordTime>", "    </Control>"})},
    });
}

TEST_F(ClientRequests, PolicyAndTaskChangesSendOnlyTheirOwnFields) {
    // AddTask and ModifyTask print the year without padding (9 gives 903),
    // unlike the policy start above (000903).
    const Lines taskChildren = {
        "            <StartYearMonth>903</StartYearMonth>",
        "            <StartDay>5</StartDay>",
        "            <DayofWeek>3</DayofWeek>",
        "            <StartTime>0705</StartTime>",
        "            <EndYearMonth>202412</EndYearMonth>",
        "            <EndDay>17</EndDay>",
        "            <EndTime>2330</EndTime>",
    };
    ExpectRequests({
        {"Modify", [](uint32_t c) { return Kerrow_RecordPolicy_Modify(c, 42, 1); },
         Expected(104, {"    <Modify>", "        <ID>42</ID>", "        <Policy>",
                        "            <PolicyStatus>1</PolicyStatus>", "        </Policy>",
                        "    </Modify>"})},
        {"Del", [](uint32_t c) { return Kerrow_RecordPolicy_Del(c, 42); },
         Expected(105, {"    <Modify>", "        <ID>42</ID>", "    </Modify>"})},
        {"DelAll", [](uint32_t c) { return Kerrow_RecordPolicy_DelAll(c, "cam-b"); },
         Expected(113,
                  {"    <Modify>", "        <CameraGUID>cam-b</CameraGUID>", "    </Modify>"})},
        {"AddTask: policy id, no task id",
         [](uint32_t c) {
             PolicyTask task = SampleTask();
             return Kerrow_RecordPolicy_AddTask(c, 42, &task);
         },
         Expected(106,
                  Lines{"    <Modify>", "        <PolicyID>42</PolicyID>", "        <Task>"} +
                      taskChildren +
                      Lines{"            <Status>0</Status>", "        </Task>", "    </Modify>"})},
        {"ModifyTask: the task's id, no status",
         [](uint32_t c) {
             PolicyTask task = SampleTask();
             return Kerrow_RecordPolicy_ModifyTask(c, 42, &task);
         },
         Expected(107, Lines{"    <Modify>", "        <ID>12</ID>", "        <Task>"} +
                           taskChildren + Lines{"        </Task>", "    </Modify>"})},
        {"DelTask: only the task id, the policy id 7 is not sent",
         [](uint32_t c) { return Kerrow_RecordPolicy_DelTask(c, 7, 12); },
         Expected(108, {"    <Modify>", "        <ID>12</ID>", "    </Modify>"})},
    });
}

TEST_F(ClientRequests, QueriesCountTheirCriteria) {
    auto query = [](const char* guid, uint32_t recordType) {
        return [=](uint32_t c) {
            std::list<RecordPolicy> list;
            return Kerrow_RecordPolicy_Query(c, guid, recordType, &list);
        };
    };
    auto queryTask = [](const char* guid, uint16_t recordType, uint16_t cronType) {
        return [=](uint32_t c) {
            std::list<PolicyTaskInfo> list;
            return Kerrow_RecordPolicy_QueryTask(c, guid, recordType, cronType, &list);
        };
    };
    auto condition = [](const Lines& children) {
        return Lines{"    <Query>", "        <Condition>"} + children +
               Lines{"        </Condition>", "    </Query>"};
    };
    ExpectRequests({
        {"policies of a camera and record type", query("cam-b", 2),
         Expected(200, condition({"            <Itemnum>2</Itemnum>", "            <Items>",
                                  "                <CameraGUID>cam-b</CameraGUID>",
                                  "                <RecordType>2</RecordType>",
                                  "            </Items>"}))},
        {"record type 0 counts one criterion but is still sent", query("cam-b", 0),
         Expected(200, condition({"            <Itemnum>1</Itemnum>", "            <Items>",
                                  "                <CameraGUID>cam-b</CameraGUID>",
                                  "                <RecordType>0</RecordType>",
                                  "            </Items>"}))},
        {"only the low 16 bits of the record type: -1 is left out", query("", 0x1FFFF),
         Expected(200, condition({"            <Itemnum>2</Itemnum>", "            <Items />"}))},
        {"tasks of a camera and record type", queryTask("cam-b", 1, 0xFFFF),
         Expected(201, condition({"            <CameraGUID>cam-b</CameraGUID>",
                                  "            <RecordType>1</RecordType>"}))},
        {"tasks of a cron type only", queryTask("", 0xFFFF, 4),
         Expected(201, condition({"            <CronType>4</CronType>"}))},
        {"no criterion at all", queryTask("", 0xFFFF, 0xFFFF),
         Expected(201, {"    <Query>", "        <Condition />", "    </Query>"})},
    });
}

TEST_F(ClientRequests, AlarmCarriesTheCameraWithItsNameAndNoPreRecording) {
    auto alarmLines = [](const char* when, const char* maxTime) {
        return Lines{"    <Control>", "        <Camera>"} + CameraLines("Gate", "0") +
               Lines{"        </Camera>",
                     "        <Alarm>",
                     "            <AlarmType>motion</AlarmType>",
                     std::string("            <AlarmDatetime>") + when + "</AlarmDatetime>",
                     std::string("            <MaxRecordTime>") + maxTime + "</MaxRecordTime>",
                     "        </Alarm>",
                     "    </Control>"};
    };
    ExpectRequests({
        {"alarm",
         [](uint32_t c) {
             AlarmInput alarm = SampleAlarm();
             return Kerrow_RecordPolicy_Alarm(c, &alarm);
         },
         Expected(109, alarmLines("2024-03-05 08:05:09", "300"))},
        {"year 999 is padded with a blank",
         [](uint32_t c) {
             AlarmInput alarm = SampleAlarm();
             alarm.alarmTime = TransferTime{999, 1, 2, 3, 4, 5};
             alarm.maxRecordTime = 0;
             return Kerrow_RecordPolicy_Alarm(c, &alarm);
         },
         Expected(109, alarmLines(" 999-01-02 03:04:05", "0"))},
        {"Stop_Alarm names the caller's camera",
         [](uint32_t c) { return Kerrow_Stop_Alarm(c, "cam-b"); },
         Expected(110,
                  {"    <Control>", "        <CameraGUID>cam-b</CameraGUID>", "    </Control>"})},
        {"Stop_Alarm does not check the text", [](uint32_t c) { return Kerrow_Stop_Alarm(c, ""); },
         Expected(110, {"    <Control>", "        <CameraGUID></CameraGUID>", "    </Control>"})},
    });
}

TEST_F(ClientRequests, StopTaskSendsTheConnectionsCameraLikeStopTaskEx) {
    const std::string expected =
        Expected(112, {"    <Control>", "        <CameraGUID>34020000001310000001</CameraGUID>",
                       "    </Control>"});
    ExpectRequests({
        {"StopTask(1, 2)", [](uint32_t c) { return Kerrow_RecordPolicy_StopTask(c, 1, 2); },
         expected},
        {"StopTask(0, 0)", [](uint32_t c) { return Kerrow_RecordPolicy_StopTask(c, 0, 0); },
         expected},
        {"StopTaskEx of the same camera",
         [](uint32_t c) { return Kerrow_RecordPolicy_StopTaskEx(c, kCameraId); }, expected},
        {"StopTaskEx of another camera",
         [](uint32_t c) { return Kerrow_RecordPolicy_StopTaskEx(c, "cam-b"); },
         Expected(112,
                  {"    <Control>", "        <CameraGUID>cam-b</CameraGUID>", "    </Control>"})},
    });
}

TEST_F(ClientRequests, CatalogueOperationsSplitTheFileName) {
    ExpectRequests({
        {"file list: AlarmType carries the record type, the alarm text is never sent",
         [](uint32_t c) {
             std::list<VideoFileInfo> list;
             return Kerrow_GetVideoFileList(c, "cam-b", 2, "motion",
                                            TransferTime{2024, 3, 5, 8, 0, 0},
                                            TransferTime{2024, 3, 5, 9, 30, 0}, &list);
         },
         Expected(
             600,
             {"    <Query>", "        <Condition>", "            <CameraGUID>cam-b</CameraGUID>",
              "            <RecordType>2</RecordType>", "            <AlarmType>2</AlarmType>",
              "            <StartTime>2024-03-05 08:00:00</StartTime>",
              "            <EndTime>2024-03-05 09:30:00</EndTime>", "        </Condition>",
              "    </Query>"})},
        {"eleven digits beyond 32 bits saturate",
         [](uint32_t c) { return Kerrow_DeleteFile(c, "312345678901"); },
         Expected(516, {"    <Modify>", "        <FileID>2147483647</FileID>",
                        "        <RecordType>3</RecordType>", "    </Modify>"})},
        {"only twelve characters are read",
         [](uint32_t c) { return Kerrow_DeleteFile(c, "20000000001599"); },
         Expected(516, {"    <Modify>", "        <FileID>15</FileID>",
                        "        <RecordType>2</RecordType>", "    </Modify>"})},
        {"a shorter name ends the number where it ends",
         [](uint32_t c) { return Kerrow_DeleteFile(c, "215"); },
         Expected(516, {"    <Modify>", "        <FileID>15</FileID>",
                        "        <RecordType>2</RecordType>", "    </Modify>"})},
        {"permission", [](uint32_t c) { return Kerrow_ModifyFilePermission(c, "100000000042", 1); },
         Expected(514, {"    <Modify>", "        <FileID>42</FileID>",
                        "        <RecordType>1</RecordType>",
                        "        <FilePermision>1</FilePermision>", "    </Modify>"})},
    });
}

}  // namespace
}  // namespace kerrow::test
