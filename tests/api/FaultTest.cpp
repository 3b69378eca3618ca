// A processor fault inside Kerrow_Init, on the thread that called it, is
// caught, logged by name and answered with -1.
#include <gtest/gtest.h>

#include "KerrowSDK.h"
#include "api/CVFSException.h"
#include "api/Library.h"
#include "support/LogFile.h"

namespace {

void DivideByZero() {
    int quotient = 0;
#if defined(__i386__) || defined(__x86_64__)
    // Emitted as it stands, so no compiler or sanitizer turns it into anything
    // but a real division.
    asm volatile("xorl %%edx, %%edx\n\tmovl $7, %%eax\n\txorl %%ecx, %%ecx\n\tidivl %%ecx"
                 : "=a"(quotient)
                 :
                 : "ecx", "edx", "cc");
#endif
    (void)quotient;
}

void ReadInvalidAddress() {
    int value = 0;
#if defined(__x86_64__)
    asm volatile("movq $16, %%rax\n\tmovl (%%rax), %0" : "=r"(value) : : "rax", "memory");
#elif defined(__i386__)
    asm volatile("movl $16, %%eax\n\tmovl (%%eax), %0" : "=r"(value) : : "eax", "memory");
#endif
    (void)value;
}

struct FaultCase {
    const char* name;
    void (*fault)();
    const char* text;
};

void PrintTo(const FaultCase& c, std::ostream* os) { *os << c.name; }

class InitFault : public ::testing::TestWithParam<FaultCase> {
  protected:
    void TearDown() override {
        kerrow::library::SetInitProbeForTesting(nullptr);
        Kerrow_Release();
    }
};

TEST_P(InitFault, IsCaughtLoggedAndAnsweredWithMinusOne) {
    Kerrow_Release();
    kerrow::library::SetInitProbeForTesting(GetParam().fault);
    EXPECT_EQ(-1, Kerrow_Init());
    std::string line =
        std::string("Kerrow_Init(): .\\KerrowSDK:465 Kerrow_Init() error:") + GetParam().text;
    EXPECT_TRUE(kerrow::test::LogHasMessage(line)) << kerrow::test::ReadLog();
    // The registry stays as it was: created before the fault.
    kerrow::library::SetInitProbeForTesting(nullptr);
    EXPECT_EQ(1, Kerrow_Init());
}

INSTANTIATE_TEST_SUITE_P(
    Faults, InitFault,
    ::testing::Values(FaultCase{"DivideByZero", &DivideByZero, "EXCEPTION_INT_DIVIDE_BY_ZERO"},
                      FaultCase{"InvalidRead", &ReadInvalidAddress, "EXCEPTION_ACCESS_VIOLATION"}),
    [](const ::testing::TestParamInfo<FaultCase>& info) { return std::string(info.param.name); });

TEST(FaultName, NamesAndTheSignedFallback) {
    char text[64];
    kerrow::FaultName(0xC0000094u, text, sizeof(text));
    EXPECT_STREQ("EXCEPTION_INT_DIVIDE_BY_ZERO", text);
    kerrow::FaultName(0x80000002u, text, sizeof(text));
    EXPECT_STREQ("EXCEPTION_DATATYPE_MISALIGNMENT", text);
    kerrow::FaultName(0xC0000008u, text, sizeof(text));
    EXPECT_STREQ("Error code -1073741816", text);
}

}  // namespace
