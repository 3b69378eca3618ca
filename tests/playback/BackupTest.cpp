// A backup carries no media to the application: it follows the server's
// progress to the end notice, and its stop names the server's transfer.
#include "playback/PlaybackTesting.h"

namespace kerrow::test {
namespace {

class Backup : public Transfer {
  protected:
    void SetUp() override {
        Transfer::SetUp();
        Answer(StartReply(515, kTaskId, 0));
    }
    uint32_t BackupPosition(uint32_t connection) {
        uint32_t position = 0xFFFF;
        EXPECT_EQ(0, Kerrow_GetBackupFilePos(connection, 0, &position));
        return position;
    }
};

TEST_F(Backup, FollowsTheProgressToTheEndNotice) {
    uint32_t handle = 0;
    EXPECT_EQ(0, Kerrow_BackupFile(conn_, "300000000042", &handle));
    EXPECT_EQ(Expected(515, {"    <Modify>", "        <FileID>42</FileID>",
                             "        <RecordType>3</RecordType>", "    </Modify>"}),
              server_.Requests(0).at(0).bytes);
    EXPECT_EQ(0, Kerrow_SetVideoBackupTerminalCallBack(conn_, handle, RecordEnd, &seen_));
    EXPECT_EQ(7, Kerrow_SetVideoPlayDataCallBack(conn_, handle, RecordData, &seen_));
    EXPECT_EQ(0u, BackupPosition(conn_));

    // Media on a backup connection is dropped without stopping the stream.
    server_.Push(0, Reply::Now(FrameMessage("01", "h1") + FrameMessage("01", "h2") +
                               FrameMessage("02", "data") + Progress(517, 30)));
    EXPECT_TRUE(Eventually([&] { return BackupPosition(conn_) == 30; }));

    server_.Push(0, Reply::Now(EndNotice(515)));
    ASSERT_TRUE(seen_.WaitEnds(1));
    EXPECT_EQ(100u, BackupPosition(conn_));
    EXPECT_EQ(std::make_pair(conn_, handle), seen_.Identity());
    EXPECT_TRUE(server_.WaitClosed(0));
    EXPECT_EQ(0, Kerrow_StopBackupFile(conn_, handle));  // nothing can be sent; still 0
    EXPECT_EQ(std::vector<uint32_t>{1}, seen_.Ends());
    EXPECT_TRUE(seen_.Blocks().empty());
}

TEST_F(Backup, StopSendsTheClientIdAndClosesTheConnection) {
    uint32_t handle = 0;
    EXPECT_EQ(0, Kerrow_BackupFile(conn_, "300000000042", &handle));
    EXPECT_EQ(1, Kerrow_GetTaskNum());
    EXPECT_EQ(0, Kerrow_StopBackupFile(conn_, 0));
    ASSERT_TRUE(server_.WaitRequests(0, 2));
    EXPECT_EQ(Expected(518, {"    <ClientId>4711</ClientId>"}), server_.Requests(0)[1].bytes);
    EXPECT_TRUE(server_.WaitClosed(0));
    EXPECT_EQ(0, Kerrow_GetTaskNum());
}

}  // namespace
}  // namespace kerrow::test
