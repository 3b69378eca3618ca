// The rolling log file: where it goes, the shape of its lines, its bytes and
// its rolling over.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdint>
#include <regex>
#include <sstream>
#include <string>

#include "log/Log.h"
#include "support/LogFile.h"

namespace {

using kerrow::test::LogMessages;
using kerrow::test::ReadLog;

bool Exists(const char* path) {
    struct stat st;
    return stat(path, &st) == 0;
}

TEST(Log, FirstStatementCreatesTheDirectoryAndWritesBothShapes) {
    EXPECT_FALSE(Exists("log"));
    KLOG_INFO << "Client_Connect id:" << 42u;
    EXPECT_TRUE(Exists("log/PellamKerrowSDK.log"));
    KLOG_ERROR_AT("TcpsocketLink::Connect", ".\\TcpsocketLink", 49)
        << "ZOREK TcpsocketLink Conn TimeOut";
    KLOG_INFO << "value:" << int16_t{-1} << "," << uint8_t{7} << "," << int64_t{-5};

    std::string log = ReadLog();
    std::regex line(R"((\d{4}-\d\d-\d\d \d\d:\d\d:\d\d,\d{3}) \[\d+\] (INFO|ERROR) - (.*))");
    std::smatch match;
    std::string first = log.substr(0, log.find('\n'));
    ASSERT_TRUE(std::regex_match(first, match, line)) << first;
    EXPECT_EQ("INFO", match[2]);
    EXPECT_EQ(" Client_Connect id:42", match[3]);
    auto messages = LogMessages();
    ASSERT_EQ(3u, messages.size());
    EXPECT_EQ("TcpsocketLink::Connect(): .\\TcpsocketLink:49 ZOREK TcpsocketLink Conn TimeOut",
              messages[1]);
    EXPECT_NE(std::string::npos, log.find("] ERROR - TcpsocketLink::Connect"));
    EXPECT_EQ(" value:-1,7,-5", messages[2]) << "small numbers print as numbers";
}

TEST(Log, PiecesPrintAsADefaultStreamPrintsThem) {
    const char* none = nullptr;
    std::ostringstream expected;
    expected << " " << INT64_MIN << "," << UINT64_MAX << "," << int8_t{-128} + 0 << ","
             << uint16_t{65535} << "," << 0 << "," << -2147483647 - 1 << "," << 4294967295u
             << std::string("a\0b", 3);
    KLOG_INFO << int64_t{INT64_MIN} << "," << uint64_t{UINT64_MAX} << "," << int8_t{-128} << ","
              << uint16_t{65535} << "," << 0 << "," << int32_t{-2147483647 - 1} << ","
              << uint32_t{4294967295u} << std::string("a\0b", 3);
    // A null text ends the message there, as it puts a stream in its bad state.
    KLOG_INFO << "kept" << none << "dropped" << 5;
    const auto messages = LogMessages();
    ASSERT_EQ(2u, messages.size());
    EXPECT_EQ(expected.str(), messages[0]);
    EXPECT_EQ(" kept", messages[1]);
}

TEST(Log, ChineseTextsReachTheFileAsGbkBytes) {
    KLOG_INFO << "新建连接，id：" << 3;
    // 新建连接，id： in GBK
    EXPECT_TRUE(
        kerrow::test::LogHasMessage(" \xD0\xC2\xBD\xA8\xC1\xAC\xBD\xD3\xA3\xAC\x69\x64\xA3\xBA"
                                    "3"));
}

TEST(Log, RollsOverAtOneMebibyte) {
    const std::string filler(1000, 'x');
    for (int i = 0; i < 1100; ++i) KLOG_INFO << filler << i;
    struct stat current, backup;
    ASSERT_EQ(0, stat("log/PellamKerrowSDK.log", &current));
    ASSERT_EQ(0, stat("log/PellamKerrowSDK.log.1", &backup));
    // Rolled right after the line that took the file to 1 MiB, not before.
    EXPECT_LE(backup.st_size, 1048576 + 1100);
    EXPECT_GE(backup.st_size, 1048576);
    EXPECT_LT(current.st_size, 1048576);
    EXPECT_FALSE(Exists("log/PellamKerrowSDK.log.2"));
    EXPECT_FALSE(Exists("log/PellamKerrowSDK.log.01")) << "backups are numbered without padding";
    // The newest line is in the fresh file.
    EXPECT_NE(std::string::npos, ReadLog().find(filler + "1099"));
}

}  // namespace
