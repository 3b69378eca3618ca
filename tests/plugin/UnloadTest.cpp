// Loading and unloading the library as a plug-in host would: each unload
// releases the library and shuts the log down, and a later load starts over.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>

#include "KerrowSDK.h"

namespace {

using InitFn = int(KERROW_CALL*)();
using ConnectFn = int(KERROW_CALL*)(const ConnectionRecord*, uint32_t*);

TEST(Unload, DlcloseReleasesAndAReloadStartsOver) {
    struct sigaction before {};
    sigaction(SIGSEGV, nullptr, &before);
    for (int round = 0; round < 3; ++round) {
        void* library = dlopen(KERROW_LIBRARY_PATH, RTLD_NOW | RTLD_LOCAL);
        ASSERT_NE(nullptr, library) << dlerror();
        auto init = reinterpret_cast<InitFn>(dlsym(library, "Kerrow_Init"));
        auto connect = reinterpret_cast<ConnectFn>(dlsym(library, "Kerrow_Connect"));
        ASSERT_NE(nullptr, init);
        ASSERT_NE(nullptr, connect);
        ConnectionRecord record{};
        uint32_t id = 5;
        EXPECT_EQ(0, init()) << "round " << round;
        EXPECT_EQ(3, connect(&record, &id)) << "no port: refused, and logged";
        EXPECT_EQ(0, dlclose(library));
    }
    struct stat st;
    EXPECT_EQ(0, stat("log/PellamKerrowSDK.log", &st));
    // Kerrow_Init installed fault handlers; they must not outlive the code.
    struct sigaction after {};
    sigaction(SIGSEGV, nullptr, &after);
    EXPECT_EQ(before.sa_handler, after.sa_handler);
}

}  // namespace
