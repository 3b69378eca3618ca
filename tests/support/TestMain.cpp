// Every test process runs in a fresh directory of its own, so that the log
// file (./log/PellamKerrowSDK.log) of one process is never touched by another.
#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

#include <cstdio>
#include <string>

int main(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    const char* base = getenv("TMPDIR");
    std::string dir = std::string(base != nullptr ? base : "/tmp") + "/kerrow-test-XXXXXX";
    if (mkdtemp(dir.data()) == nullptr || chdir(dir.c_str()) != 0) {
        std::perror("kerrow test: cannot make a working directory");
        return 2;
    }
    setenv("KERROW_TEST_DIR", dir.c_str(), 1);
    return RUN_ALL_TESTS();
}
