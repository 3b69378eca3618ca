// Processor faults arrive as signals. The handler builds the fault record and
// processor context of the faulting thread in their Windows shapes and hands
// them to that thread's translator, which throws out of the handler; the
// exception unwinds through the signal frame into the faulting function.
#include "platform/Fault.h"

#include <errno.h>
#include <signal.h>
#include <ucontext.h>

#include <atomic>
#include <mutex>

namespace kerrow::platform {
namespace {

constexpr int kFaultSignals[] = {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP};
constexpr uint32_t kContextFull = 0x10007;  // control, integer and segment registers
constexpr uint32_t kAccessRead = 0;
constexpr uint32_t kAccessWrite = 1;
constexpr uint32_t kAccessExecute = 8;
constexpr uint32_t kPageFaultWrite = 0x2;  // page-fault error code bits
constexpr uint32_t kPageFaultFetch = 0x10;

// Read in the handler: the initial-exec model keeps the access free of calls.
__attribute__((tls_model("initial-exec"))) thread_local FaultTranslator t_translator = nullptr;
__attribute__((tls_model("initial-exec"))) thread_local bool t_translating = false;

// The dispositions found when the handlers were installed.
struct sigaction g_previous[NSIG];
std::atomic<bool> g_installed{false};
std::once_flag g_installOnce;

uint32_t FaultCode(int signal, int code) {
    switch (signal) {
        case SIGBUS:
            return code == BUS_ADRALN ? kFaultDatatypeMisalignment : kFaultInPageError;
        case SIGFPE:
            switch (code) {
                case FPE_INTOVF:
                    return kFaultIntOverflow;
                case FPE_FLTDIV:
                    return kFaultFltDivideByZero;
                case FPE_FLTOVF:
                    return kFaultFltOverflow;
                case FPE_FLTUND:
                    return kFaultFltUnderflow;
                case FPE_FLTRES:
                    return kFaultFltInexactResult;
                case FPE_FLTINV:
                    return kFaultFltInvalidOperation;
                case FPE_FLTSUB:
                    return kFaultArrayBoundsExceeded;
                default:
                    return kFaultIntDivideByZero;
            }
        case SIGILL:
            return (code == ILL_PRVOPC || code == ILL_PRVREG) ? kFaultPrivInstruction
                                                              : kFaultIllegalInstruction;
        case SIGTRAP:
            return (code == TRAP_TRACE || code == TRAP_HWBKPT) ? kFaultSingleStep
                                                               : kFaultBreakpoint;
        default:
            return kFaultAccessViolation;
    }
}

// The registers of the interrupted code; on x86-64 their low 32 bits.
void FillContext(const ucontext_t& uc, FaultContext* context, uintptr_t* ip, uint32_t* error) {
    const greg_t* g = uc.uc_mcontext.gregs;
    context->ContextFlags = kContextFull;
#if defined(__x86_64__)
    context->Edi = static_cast<uint32_t>(g[REG_RDI]);
    context->Esi = static_cast<uint32_t>(g[REG_RSI]);
    context->Ebx = static_cast<uint32_t>(g[REG_RBX]);
    context->Edx = static_cast<uint32_t>(g[REG_RDX]);
    context->Ecx = static_cast<uint32_t>(g[REG_RCX]);
    context->Eax = static_cast<uint32_t>(g[REG_RAX]);
    context->Ebp = static_cast<uint32_t>(g[REG_RBP]);
    context->Esp = static_cast<uint32_t>(g[REG_RSP]);
    context->EFlags = static_cast<uint32_t>(g[REG_EFL]);
    const uint64_t segments = static_cast<uint64_t>(g[REG_CSGSFS]);  // cs, gs, fs, ss
    context->SegCs = segments & 0xFFFF;
    context->SegGs = (segments >> 16) & 0xFFFF;
    context->SegFs = (segments >> 32) & 0xFFFF;
    context->SegSs = (segments >> 48) & 0xFFFF;
    *ip = static_cast<uintptr_t>(g[REG_RIP]);
#elif defined(__i386__)
    context->SegGs = static_cast<uint32_t>(g[REG_GS]) & 0xFFFF;
    context->SegFs = static_cast<uint32_t>(g[REG_FS]) & 0xFFFF;
    context->SegEs = static_cast<uint32_t>(g[REG_ES]) & 0xFFFF;
    context->SegDs = static_cast<uint32_t>(g[REG_DS]) & 0xFFFF;
    context->Edi = static_cast<uint32_t>(g[REG_EDI]);
    context->Esi = static_cast<uint32_t>(g[REG_ESI]);
    context->Ebx = static_cast<uint32_t>(g[REG_EBX]);
    context->Edx = static_cast<uint32_t>(g[REG_EDX]);
    context->Ecx = static_cast<uint32_t>(g[REG_ECX]);
    context->Eax = static_cast<uint32_t>(g[REG_EAX]);
    context->Ebp = static_cast<uint32_t>(g[REG_EBP]);
    context->Esp = static_cast<uint32_t>(g[REG_ESP]);
    context->EFlags = static_cast<uint32_t>(g[REG_EFL]);
    context->SegCs = static_cast<uint32_t>(g[REG_CS]) & 0xFFFF;
    context->SegSs = static_cast<uint32_t>(g[REG_SS]) & 0xFFFF;
    *ip = static_cast<uintptr_t>(g[REG_EIP]);
#else
#error "fault translation knows the registers of x86 and x86-64 only"
#endif
    *error = static_cast<uint32_t>(g[REG_ERR]);
}

void FillRecord(int signal, const siginfo_t& info, uint32_t error, FaultRecord* record) {
    record->ExceptionCode = FaultCode(signal, info.si_code);
    const uint32_t address = static_cast<uint32_t>(reinterpret_cast<uintptr_t>(info.si_addr));
    if (signal == SIGSEGV) {
        record->NumberParameters = 2;
        if (info.si_code == SI_KERNEL) {
            // A protection fault names no address.
            record->ExceptionInformation[0] = kAccessRead;
            record->ExceptionInformation[1] = 0xFFFFFFFFu;
        } else {
            record->ExceptionInformation[0] = (error & kPageFaultFetch)   ? kAccessExecute
                                              : (error & kPageFaultWrite) ? kAccessWrite
                                                                          : kAccessRead;
            record->ExceptionInformation[1] = address;
        }
    } else if (signal == SIGBUS && info.si_code != BUS_ADRALN) {
        record->NumberParameters = 3;
        record->ExceptionInformation[0] = kAccessRead;
        record->ExceptionInformation[1] = address;
    }
}

void Unblock(int signal) {
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, signal);
    pthread_sigmask(SIG_UNBLOCK, &set, nullptr);
}

// What the signal would have done without us: the earlier handler, or the
// default action. A fault returns to its instruction, which faults again
// under the default action; a trap or a sent signal is raised again.
void TakeDefaultCourse(int signal, siginfo_t* info, void* context) {
    const bool sent = info->si_code <= 0;
    if (g_installed.load(std::memory_order_acquire)) {
        const struct sigaction& previous = g_previous[signal];
        if ((previous.sa_flags & SA_SIGINFO) != 0) {
            if (previous.sa_sigaction != nullptr) {
                previous.sa_sigaction(signal, info, context);
                return;
            }
        } else if (previous.sa_handler == SIG_IGN) {
            if (sent) return;  // a processor fault cannot be ignored
        } else if (previous.sa_handler != SIG_DFL) {
            previous.sa_handler(signal);
            return;
        }
    }
    struct sigaction fallback {};
    fallback.sa_handler = SIG_DFL;
    sigemptyset(&fallback.sa_mask);
    sigaction(signal, &fallback, nullptr);
    Unblock(signal);
    if (sent || signal == SIGTRAP) raise(signal);
}

struct TranslatingMark {
    TranslatingMark() { t_translating = true; }
    ~TranslatingMark() { t_translating = false; }
    TranslatingMark(const TranslatingMark&) = delete;
    TranslatingMark& operator=(const TranslatingMark&) = delete;
};

void Translate(FaultTranslator translator, int signal, siginfo_t* info, ucontext_t* uc) {
    FaultRecord record{};
    FaultContext context{};
    uintptr_t ip = 0;
    uint32_t error = 0;
    FillContext(*uc, &context, &ip, &error);
    FillRecord(signal, *info, error, &record);
    if (signal == SIGTRAP && info->si_code == SI_KERNEL) --ip;  // back onto the int3
    record.ExceptionAddress = static_cast<uint32_t>(ip);
    context.Eip = static_cast<uint32_t>(ip);
    FaultPointers pointers{&record, &context};

    // The exception leaves the handler without returning through the kernel,
    // so the signal mask of the interrupted code is put back here.
    pthread_sigmask(SIG_SETMASK, &uc->uc_sigmask, nullptr);
    Unblock(signal);
    TranslatingMark mark;  // a fault inside the translator is not translated again
    translator(record.ExceptionCode, &pointers);
}

void OnFault(int signal, siginfo_t* info, void* context) {
    const int savedErrno = errno;
    const FaultTranslator translator = t_translator;
    // Only faults of the thread's own instructions are translated: a signal
    // sent by kill or raise did not stop the thread at a faulting instruction.
    if (translator != nullptr && !t_translating && info->si_code > 0) {
        Translate(translator, signal, info, static_cast<ucontext_t*>(context));
    }
    TakeDefaultCourse(signal, info, context);
    errno = savedErrno;
}

void InstallHandlers() {
    // The earlier dispositions are kept before ours go in, so that a fault on
    // another thread meanwhile always finds them.
    for (int signal : kFaultSignals) sigaction(signal, nullptr, &g_previous[signal]);
    g_installed.store(true, std::memory_order_release);
    for (int signal : kFaultSignals) {
        struct sigaction action {};
        action.sa_sigaction = OnFault;
        // Not deferred: the handler may be left by an exception, and the
        // signal must not stay blocked for the next fault.
        action.sa_flags = SA_SIGINFO | SA_NODEFER;
        sigemptyset(&action.sa_mask);
        sigaction(signal, &action, nullptr);
    }
}

}  // namespace

void RemoveFaultHandlers() {
    if (!g_installed.load(std::memory_order_acquire)) return;
    for (int signal : kFaultSignals) {
        struct sigaction current {};
        sigaction(signal, nullptr, &current);
        // A handler installed over ours afterwards stays.
        if (current.sa_sigaction == OnFault) {
            sigaction(signal, &g_previous[signal], nullptr);
        }
    }
}

FaultTranslator SetFaultTranslator(FaultTranslator translator) {
    if (translator != nullptr) std::call_once(g_installOnce, InstallHandlers);
    const FaultTranslator previous = t_translator;
    t_translator = translator;
    return previous;
}

}  // namespace kerrow::platform
