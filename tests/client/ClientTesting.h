// Shared pieces of the end-to-end tests of the control operations: a library
// session connected to an in-process storage server, expected messages
// written out line by line, and one table that describes every control
// operation (its export call, Method, failure code and log texts).
#pragma once

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <functional>
#include <list>
#include <stdexcept>
#include <string>
#include <vector>

#include "KerrowSDK.h"
#include "support/LogFile.h"
#include "support/Records.h"
#include "support/TestServer.h"

namespace kerrow::test {

using Lines = std::vector<std::string>;

inline Lines operator+(Lines a, const Lines& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

// A control request as the library must send it: the head, the Method and an
// Action holding the given lines (each written with its own indentation),
// with the total length stamped into the head.
inline std::string Expected(int method, const Lines& actionLines) {
    std::string text =
        "<?xml version=\"1.0\" encoding=\"UTF-8\" ?>\n<ContentLength>00000000</ContentLength>\n"
        "<ContentType>00</ContentType>\n<Method>" +
        std::to_string(method) + "</Method>\n<Action>\n";
    for (const std::string& line : actionLines) text += line + "\n";
    text += "</Action>\n";
    char digits[16];
    std::snprintf(digits, sizeof digits, "%08zu", text.size());
    return text.replace(55, 8, digits);
}

// A reply's Action lines joined for ControlMessage.
inline std::string Joined(const Lines& lines) {
    std::string text;
    for (const std::string& line : lines) text += line + "\n";
    return text;
}

// The camera that the test connections work for.
inline ConnectionRecord TestCamera(uint16_t port) {
    ConnectionRecord record = MakeConnectionRecord(port);
    std::strcpy(record.cameraId, "34020000001310000001");
    std::strcpy(record.cameraName, "Gate");
    record.encoderChannel = 2;
    record.encoderByDns = 1;
    std::strcpy(record.encoderDns, "nvr.example");
    record.cameraType = 7;
    std::strcpy(record.encoderName, "NVR-7");
    std::strcpy(record.encoderIp, "10.1.2.3");
    record.encoderPort = 8000;
    std::strcpy(record.encoderUsername, "admin");
    std::strcpy(record.encoderPassword, "pass1");
    std::strcpy(record.forwardServerIp, "10.1.2.9");
    record.forwardServerPort = 7070;
    std::strcpy(record.cameraDesc, "North gate");
    record.preRecord = 10;
    return record;
}
constexpr const char* kCameraId = "34020000001310000001";

// The 17 children of Camera for TestCamera, at the depth of Action/x/Camera.
inline Lines CameraLines(const std::string& cameraName, const std::string& preRecord) {
    return {
        "            <GUID>34020000001310000001</GUID>",
        "            <CameraID>34020000001310000001</CameraID>",
        "            <CameraName>" + cameraName + "</CameraName>",
        "            <CameraType>7</CameraType>",
        "            <EncoderName>NVR-7</EncoderName>",
        "            <EncoderType>7</EncoderType>",
        "            <EncoderIP>10.1.2.3</EncoderIP>",
        "            <EncoderDNS>nvr.example</EncoderDNS>",
        "            <EncoderMAINCONN>DNS</EncoderMAINCONN>",
        "            <EncoderPort>8000</EncoderPort>",
        "            <EncoderUsername>admin</EncoderUsername>",
        "            <EncoderPassword>pass1</EncoderPassword>",
        "            <EncoderChannel>2</EncoderChannel>",
        "            <ForwardSvrIP>10.1.2.9</ForwardSvrIP>",
        "            <ForwardSvrPort>7070</ForwardSvrPort>",
        "            <CameraDesc>North gate</CameraDesc>",
        "            <PreRecord>" + preRecord + "</PreRecord>",
    };
}

// An initialised library with one connection to a fresh server; every
// connection opened is disconnected before the library is released.
class Session : public ::testing::Test {
  protected:
    void SetUp() override {
        ASSERT_EQ(0, Kerrow_Init());
        conn_ = Open();
    }
    void TearDown() override {
        for (uint32_t id : opened_) Kerrow_Disconnect(id);
        Kerrow_Release();
    }
    // Opens one more connection and waits until the server has accepted it
    // (server connections are numbered in that order from 0).
    uint32_t Open() {
        ConnectionRecord record = TestCamera(server_.Port());
        uint32_t id = 0;
        EXPECT_EQ(0, Kerrow_Connect(&record, &id));
        opened_.push_back(id);
        EXPECT_TRUE(server_.WaitConnections(opened_.size()));
        return id;
    }
    // Answers every request with Code 0 under its own Method.
    void AnswerEverythingWithSuccess() {
        server_.SetHandler([](const Request& r) { return Reply::Now(ResultReply(r.Method(), 0)); });
    }
    std::string LastRequest() const {
        auto all = server_.Requests();
        return all.empty() ? std::string() : all.back().bytes;
    }

    TestServer server_;
    uint32_t conn_ = 0;
    std::vector<uint32_t> opened_;
};

// How an operation reads its reply and judges the server's code.
enum class Family {
    Control,     // result wait; any nonzero code fails
    FileChange,  // document wait; only a code above 0 fails
    Query,       // document wait; the code is not examined
};

struct Operation {
    const char* name;
    std::function<int(uint32_t)> call;
    int method;
    int failureCode;
    Family family;
    const char* sending;  // followed by the request
    const char* sendFailed;
    const char* succeeded;  // "" for the queries, which log no success
    const char* failed;     // followed by the server's code or the wait's result
    const char* timedOut;   // followed by the connection number
};

// Realistic inputs of the operations that take records.
inline PolicyTask SampleTask() {
    PolicyTask task{};
    task.taskId = 12;
    task.startYear = 9;
    task.startMonth = 3;
    task.startDay = 5;
    task.startHour = 7;
    task.startMinute = 5;
    task.startSecond = 59;  // never sent
    task.endYear = 2024;
    task.endMonth = 12;
    task.endDay = 17;
    task.endHour = 23;
    task.endMinute = 30;
    task.dayOfWeek = 0x10003;  // low 16 bits: 3
    task.status = 9;           // never sent
    return task;
}

inline RecordPolicy SamplePolicy(int32_t recordType) {
    RecordPolicy policy{};
    policy.policyId = 77;  // not sent
    std::strcpy(policy.cameraGuid, "not-this-camera");
    policy.recordType = recordType;
    policy.cronType = 5;
    policy.taskCount = 7;  // not read: the list decides
    policy.maxRecordTime = 70000;
    policy.tasks.push_back(SampleTask());
    PolicyTask second = SampleTask();
    second.startYear = 2024;
    second.startMonth = 11;
    second.startDay = 17;
    second.startHour = 18;
    second.startMinute = 45;
    second.endDay = 5;
    second.dayOfWeek = 127;
    policy.tasks.push_back(second);
    return policy;
}

inline AlarmInput SampleAlarm() {
    AlarmInput alarm{};
    std::strcpy(alarm.alarmType, "motion");
    alarm.alarmTime = TransferTime{2024, 3, 5, 8, 5, 9};
    alarm.maxRecordTime = 300;
    return alarm;
}

inline const std::vector<Operation>& AllOperations() {
    static const std::vector<Operation> operations = {
        {"AddDevice", [](uint32_t c) { return Kerrow_AddDevice(c); }, 100, 99, Family::Control,
         "新增摄像头 发送xml命令：", "新增摄像头 失败！", "新增摄像头 成功", "新增摄像头失败 err：",
         "新增摄像头 失败，连接id："},
        {"MdyDevice", [](uint32_t c) { return Kerrow_MdyDevice(c); }, 101, 99, Family::Control,
         "修改摄像头 发送xml命令：", "修改摄像头 失败！", "修改摄像头 成功", "修改摄像头失败 err：",
         "修改摄像头 失败，连接id："},
        {"DelDevice", [](uint32_t c) { return Kerrow_DelDevice(c); }, 102, 99, Family::Control,
         "删除摄像头 发送xml命令：", "删除摄像头 失败！", "删除摄像头 成功", "删除摄像头失败 err：",
         "删除摄像头失败，连接id："},
        {"RecordPolicy_Start",
         [](uint32_t c) {
             RecordPolicy policy = SamplePolicy(1);
             return Kerrow_RecordPolicy_Start(c, &policy);
         },
         103, 100, Family::Control, "新增策略 发送xml命令：", "新增策略 失败！", "新增策略 成功",
         "新增策略失败 err：", "新增策略超时，连接id："},
        {"RecordPolicy_Modify", [](uint32_t c) { return Kerrow_RecordPolicy_Modify(c, 42, 1); },
         104, 103, Family::Control, "修改策略状态 发送xml命令：", "新增策略 失败！",
         "修改策略状态 成功", "修改策略状态失败 err：", "修改策略状态超时，连接id："},
        {"RecordPolicy_Del", [](uint32_t c) { return Kerrow_RecordPolicy_Del(c, 42); }, 105, 104,
         Family::Control, "删除策略状态 发送xml命令：", "删除策略状态 失败！", "删除策略状态 成功",
         "删除策略状态失败 err：", "删除策略状态超时，连接id："},
        {"RecordPolicy_DelAll", [](uint32_t c) { return Kerrow_RecordPolicy_DelAll(c, "cam-b"); },
         113, 104, Family::Control, "删除全部策略 发送xml命令：", "删除全部策略 失败！",
         "删除全部策略状态 成功", "删除全部策略状态失败 err：", "删除全部策略超时，连接id："},
        {"RecordPolicy_AddTask",
         [](uint32_t c) {
             PolicyTask task = SampleTask();
             return Kerrow_RecordPolicy_AddTask(c, 42, &task);
         },
         106, 107, Family::Control, "往策略增加一条任务 发送xml命令：", "往策略增加一条任务 失败！",
         "往策略增加一条任务 成功", "往策略增加一条任务err：", "往策略增加一条任务超时，连接id："},
        {"RecordPolicy_ModifyTask",
         [](uint32_t c) {
             PolicyTask task = SampleTask();
             return Kerrow_RecordPolicy_ModifyTask(c, 42, &task);
         },
         107, 105, Family::Control, "修改策略的一条任务 发送xml命令：", "修改策略的一条任务 失败！",
         "修改策略的一条任务 成功", "修改策略的一条任务 err：", "修改策略的一条任务超时，连接id："},
        {"RecordPolicy_DelTask", [](uint32_t c) { return Kerrow_RecordPolicy_DelTask(c, 7, 12); },
         108, 106, Family::Control, "删除策略的一条任务 发送xml命令：", "删除策略的一条任务 失败！",
         "删除策略的一条任务 成功", "删除策略的一条任务 err：", "删除策略的一条任务超时，连接id："},
        {"RecordPolicy_StopTask", [](uint32_t c) { return Kerrow_RecordPolicy_StopTask(c, 1, 2); },
         112, 108, Family::Control, "停止手动录像任务 发送xml命令：", "停止手动录像任务 失败！",
         "停止手动录像任务 成功", "停止手动录像任务err：", "停止手动录像任务超时，连接id："},
        {"RecordPolicy_StopTaskEx",
         [](uint32_t c) { return Kerrow_RecordPolicy_StopTaskEx(c, "cam-b"); }, 112, 108,
         Family::Control, "停止手动录像任务（扩展） 发送xml命令：",
         "停止手动录像任务（扩展） 失败！", "停止手动录像任务（扩展） 成功",
         "停止手动录像任务（扩展）err：", "停止手动录像任务（扩展）超时，连接id："},
        {"RecordPolicy_Alarm",
         [](uint32_t c) {
             AlarmInput alarm = SampleAlarm();
             return Kerrow_RecordPolicy_Alarm(c, &alarm);
         },
         109, 109, Family::Control, "发送报警信息 发送xml命令：", "发送报警信息 失败！",
         "发送报警信息 成功", "发送报警信息 err：", "发送报警信息超时，连接id："},
        {"Stop_Alarm", [](uint32_t c) { return Kerrow_Stop_Alarm(c, "cam-b"); }, 110, 111,
         Family::Control, "解除报警信息 发送xml命令：", "解除报警信息 失败！", "解除报警信息 成功",
         "解除报警信息 err：", "解除报警信息超时，连接id："},
        {"DeleteFile", [](uint32_t c) { return Kerrow_DeleteFile(c, "100000000042"); }, 516, 206,
         Family::FileChange, "删除文件 发送xml命令：", "删除文件 失败！", "删除文件 成功",
         "删除文件失败 err：", "删除文件，连接id："},
        {"ModifyFilePermission",
         [](uint32_t c) { return Kerrow_ModifyFilePermission(c, "100000000042", 1); }, 514, 204,
         Family::FileChange, "修改文件可删除与否权限 发送xml命令：",
         "修改文件可删除与否权限 失败！", "修改文件可删除与否权限 成功",
         "修改文件可删除与否权限失败 err：", "修改文件可删除与否权限，连接id："},
        {"RecordPolicy_Query",
         [](uint32_t c) {
             std::list<RecordPolicy> list;
             return Kerrow_RecordPolicy_Query(c, "cam-b", 2, &list);
         },
         200, 101, Family::Query, "查询策略 发送xml命令：", "查询策略 失败！", "",
         "查找策略失败 err：", "查找策略超时，连接id："},
        {"RecordPolicy_QueryTask",
         [](uint32_t c) {
             std::list<PolicyTaskInfo> list;
             return Kerrow_RecordPolicy_QueryTask(c, "cam-b", 1, 0xFFFF, &list);
         },
         201, 102, Family::Query, "查询策略任务 发送xml命令：", "查询策略任务 失败！", "",
         "查找策略任务失败 err：", "查找策略任务超时，连接id："},
        {"GetVideoFileList",
         [](uint32_t c) {
             std::list<VideoFileInfo> list;
             return Kerrow_GetVideoFileList(c, "cam-b", 2, "motion",
                                            TransferTime{2024, 3, 5, 8, 0, 0},
                                            TransferTime{2024, 3, 5, 9, 30, 0}, &list);
         },
         600, 300, Family::Query, "查找视频文件 发送xml命令：", "查找视频文件 失败！", "",
         "查找视频文件失败 err：", "查找视频文件超时，连接id："},
    };
    return operations;
}

inline const Operation& Op(const std::string& name) {
    for (const Operation& op : AllOperations()) {
        if (name == op.name) return op;
    }
    throw std::invalid_argument("no operation " + name);
}

// A log line: one blank, the text, then the value.
inline std::string Line(const char* text, long long value) {
    return std::string(" ") + text + std::to_string(value);
}
inline std::string Line(const char* text) { return std::string(" ") + text; }

}  // namespace kerrow::test
