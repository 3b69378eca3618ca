// The built shared library as an application uses it: only the exports,
// called through the public header.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <list>

#include "KerrowSDK.h"

namespace {

TEST(SharedLibrary, LoadsInitialisesAndLogsWhereTheLoadHookSaid) {
    EXPECT_EQ(1, Kerrow_GetTaskNum());
    ASSERT_EQ(0, Kerrow_Init());
    struct stat st;
    EXPECT_EQ(0, stat("log/PellamKerrowSDK.log", &st)) << "the log goes to ./log";
    // Exports of many argument words, by value and by pointer: a caller and a
    // callee that disagreed on the convention would corrupt the stack here.
    TransferTime start{2024, 1, 2, 3, 4, 5}, end{2024, 1, 3, 3, 4, 5};
    std::list<VideoFileInfo> files;
    uint32_t handle = 0;
    for (int i = 0; i < 1000; ++i) {
        ASSERT_EQ(7, Kerrow_GetVideoFileList(9999, "cam", 1, "motion", start, end, &files));
        ASSERT_EQ(7, Kerrow_StartVideoDownLoad_T(9999, 1, start, end, "/tmp/x", &handle));
        ASSERT_EQ(7, Kerrow_RecordPolicy_QueryTask(9999, "", 0xFFFF, 0xFFFF, nullptr));
    }
    EXPECT_EQ(0, Kerrow_GetTaskNum());
    EXPECT_EQ(0, Kerrow_Release());
    EXPECT_EQ(1, Kerrow_GetTaskNum());
}

}  // namespace
