// Every test process runs in a fresh directory of its own, so that the log
// file (./log/PellamKerrowSDK.log) of one process is never touched by another.
// The directory is removed when every test passed and kept, with its log,
// when one failed.
#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
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
    const int status = RUN_ALL_TESTS();
    if (status == 0 && chdir("/") == 0) {
        std::error_code ignored;
        std::filesystem::remove_all(dir, ignored);
    } else {
        std::fprintf(stderr, "kerrow test: the working directory %s is kept\n", dir.c_str());
    }
    return status;
}
