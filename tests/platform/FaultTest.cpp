// Real processor faults on a thread with a translator come back as C++
// exceptions carrying the Windows fault record; without one they end the
// process by their signal.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "platform/Fault.h"
#include "platform/Thread.h"

#if defined(__SANITIZE_ADDRESS__)
// The fault signals are ours, not the sanitizer's, whatever ASAN_OPTIONS says.
extern "C" __attribute__((visibility("default"))) const char* __asan_default_options() {
    return "allow_user_segv_handler=1:handle_segv=0:handle_sigbus=0:handle_sigfpe=0:"
           "handle_sigill=0";
}
#endif
#if defined(__SANITIZE_THREAD__)
// The fault signals are ours here too. A translated fault allocates its
// exception inside the signal handler and leaves the handler by that
// exception, which the sanitizer counts as staying in the handler for the
// rest of the thread's life: its reports of calls unsafe in a handler are off.
extern "C" __attribute__((visibility("default"))) const char* __tsan_default_options() {
    return "report_signal_unsafe=0:allow_user_segv_handler=1:handle_segv=0:handle_sigbus=0:"
           "handle_sigfpe=0:handle_sigill=0";
}
#endif

namespace kerrow::platform {
namespace {

struct CaughtFault {
    uint32_t code;
    FaultRecord record;
    FaultContext context;
};

void ThrowFault(uint32_t code, FaultPointers* info) {
    throw CaughtFault{code, *info->ExceptionRecord, *info->ContextRecord};
}

void ReturnFromFault(uint32_t, FaultPointers*) {}

// Each faults at its one instruction; the compiler can neither fold nor
// instrument an instruction in assembly.
__attribute__((noinline)) void DivideByZero() {
    asm volatile("xorl %%edx, %%edx\n\tmovl $1, %%eax\n\tidivl %0" : : "r"(0) : "eax", "edx", "cc");
}
__attribute__((noinline)) void ReadAddress16() {
    asm volatile("movl 16, %%eax" : : : "eax", "memory");
}
__attribute__((noinline)) void WriteAddress24() { asm volatile("movl $0, 24" : : : "memory"); }
__attribute__((noinline)) void IllegalInstruction() { asm volatile("ud2"); }
__attribute__((noinline)) void Breakpoint() { asm volatile("int3"); }

using FaultFunction = void (*)();

// Called through a pointer the compiler cannot see into, so that the call
// stays one that may throw.
__attribute__((noinline)) void RunFault(FaultFunction fault) {
    FaultFunction volatile call = fault;
    call();
}

// The full address of a 32-bit fault address inside the given function.
const uint8_t* InstructionAt(uint32_t address, FaultFunction function) {
    const auto start = reinterpret_cast<uintptr_t>(function);
    return reinterpret_cast<const uint8_t*>(start + (address - static_cast<uint32_t>(start)));
}

struct FaultCase {
    const char* name;
    FaultFunction fault;
    uint32_t code;
    int opcode;  // first byte of the faulting instruction, -1 when it varies
    uint32_t parameters;
    uint32_t access;   // ExceptionInformation[0]
    uint32_t address;  // ExceptionInformation[1]
};

const FaultCase kFaults[] = {
    {"divide by zero", DivideByZero, kFaultIntDivideByZero, 0xF7, 0, 0, 0},
    {"read", ReadAddress16, kFaultAccessViolation, -1, 2, 0, 16},
    {"write", WriteAddress24, kFaultAccessViolation, -1, 2, 1, 24},
    {"illegal instruction", IllegalInstruction, kFaultIllegalInstruction, 0x0F, 0, 0, 0},
    {"breakpoint", Breakpoint, kFaultBreakpoint, 0xCC, 0, 0, 0},
};

TEST(FaultTranslation, RealFaultsArriveAsExceptionsWithTheirRecord) {
    const FaultTranslator previous = SetFaultTranslator(ThrowFault);
    // Twice over: a fault left by an exception must not leave its signal blocked.
    for (int round = 0; round < 2; ++round) {
        for (const FaultCase& c : kFaults) {
            SCOPED_TRACE(c.name);
            bool caught = false;
            try {
                RunFault(c.fault);
            } catch (const CaughtFault& f) {
                caught = true;
                EXPECT_EQ(f.code, c.code);
                EXPECT_EQ(f.record.ExceptionCode, c.code);
                EXPECT_EQ(f.record.NumberParameters, c.parameters);
                if (c.parameters > 0) {
                    EXPECT_EQ(f.record.ExceptionInformation[0], c.access);
                    EXPECT_EQ(f.record.ExceptionInformation[1], c.address);
                }
                EXPECT_EQ(f.context.Eip, f.record.ExceptionAddress);
                EXPECT_NE(f.context.Esp, 0u);
                // The address is that of the faulting instruction itself.
                const uint32_t offset = f.record.ExceptionAddress -
                                        static_cast<uint32_t>(reinterpret_cast<uintptr_t>(c.fault));
                EXPECT_LT(offset, 128u);
                if (c.opcode >= 0 && offset < 128u) {
                    EXPECT_EQ(*InstructionAt(f.record.ExceptionAddress, c.fault), c.opcode);
                }
            }
            EXPECT_TRUE(caught);
        }
    }
    EXPECT_EQ(SetFaultTranslator(previous), ThrowFault);
}

uint32_t FaultOnOwnThread(void* result) {
    auto* code = static_cast<uint32_t*>(result);
    if (SetFaultTranslator(ThrowFault) != nullptr) return 1;  // a new thread has none
    try {
        RunFault(ReadAddress16);
    } catch (const CaughtFault& f) {
        *code = f.code;
    }
    return 0;
}

TEST(FaultTranslation, EachThreadHasItsOwnTranslator) {
    const FaultTranslator previous = SetFaultTranslator(ReturnFromFault);
    uint32_t code = 0;
    std::unique_ptr<Thread> thread = Thread::Create(FaultOnOwnThread, &code);
    ASSERT_NE(thread, nullptr);
    ASSERT_EQ(thread->Wait(kInfinite), WaitResult::Signaled);
    EXPECT_EQ(code, kFaultAccessViolation);
    EXPECT_EQ(SetFaultTranslator(previous), ReturnFromFault);
}

// Runs the fault in a child process and answers the signal that ended it
// (0 when it did not end by a signal).
int SignalOfChildRunning(FaultFunction fault, FaultTranslator translator) {
    const pid_t child = fork();
    if (child == 0) {
        const rlimit noCore{0, 0};
        setrlimit(RLIMIT_CORE, &noCore);
        SetFaultTranslator(translator);
        RunFault(fault);
        _exit(0);
    }
    int status = 0;
    if (child < 0 || waitpid(child, &status, 0) != child) return -1;
    return WIFSIGNALED(status) ? WTERMSIG(status) : 0;
}

TEST(FaultTranslation, UntranslatedFaultsEndTheProcessByTheirSignal) {
    // The handlers are in place, but the child's thread has no translator, or
    // one that returns.
    const FaultTranslator previous = SetFaultTranslator(ThrowFault);
    struct {
        FaultFunction fault;
        FaultTranslator translator;
        int signal;
    } const cases[] = {
        {DivideByZero, nullptr, SIGFPE},
        {ReadAddress16, nullptr, SIGSEGV},
        {Breakpoint, nullptr, SIGTRAP},
        {DivideByZero, ReturnFromFault, SIGFPE},
        {IllegalInstruction, ReturnFromFault, SIGILL},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(SignalOfChildRunning(c.fault, c.translator), c.signal);
    }
    SetFaultTranslator(previous);
}

}  // namespace
}  // namespace kerrow::platform
