// Processor faults (the Windows structured exceptions) on the threads that
// ask for them are handed to a translator, which may throw a C++ exception
// out of the faulting instruction.
#pragma once

#include <cstdint>

namespace kerrow::platform {

// Win32 EXCEPTION_RECORD and CONTEXT in their x86 layouts.
struct FaultRecord {
    uint32_t ExceptionCode;
    uint32_t ExceptionFlags;
    uint32_t ExceptionRecord;
    uint32_t ExceptionAddress;
    uint32_t NumberParameters;
    uint32_t ExceptionInformation[15];
};
static_assert(sizeof(FaultRecord) == 80, "EXCEPTION_RECORD is 80 bytes");

struct FaultContext {
    uint32_t ContextFlags;
    uint32_t Dr0, Dr1, Dr2, Dr3, Dr6, Dr7;
    uint8_t FloatSave[112];
    uint32_t SegGs, SegFs, SegEs, SegDs;
    uint32_t Edi, Esi, Ebx, Edx, Ecx, Eax;
    uint32_t Ebp, Eip, SegCs, EFlags, Esp, SegSs;
    uint8_t ExtendedRegisters[512];
};
static_assert(sizeof(FaultContext) == 716, "CONTEXT is 716 bytes");

// EXCEPTION_POINTERS.
struct FaultPointers {
    FaultRecord* ExceptionRecord;
    FaultContext* ContextRecord;
};

// Fault codes as Windows numbers them.
constexpr uint32_t kFaultAccessViolation = 0xC0000005u;
constexpr uint32_t kFaultDatatypeMisalignment = 0x80000002u;
constexpr uint32_t kFaultBreakpoint = 0x80000003u;
constexpr uint32_t kFaultSingleStep = 0x80000004u;
constexpr uint32_t kFaultInPageError = 0xC0000006u;
constexpr uint32_t kFaultIllegalInstruction = 0xC000001Du;
constexpr uint32_t kFaultArrayBoundsExceeded = 0xC000008Cu;
constexpr uint32_t kFaultFltDenormalOperand = 0xC000008Du;
constexpr uint32_t kFaultFltDivideByZero = 0xC000008Eu;
constexpr uint32_t kFaultFltInexactResult = 0xC000008Fu;
constexpr uint32_t kFaultFltInvalidOperation = 0xC0000090u;
constexpr uint32_t kFaultFltOverflow = 0xC0000091u;
constexpr uint32_t kFaultFltStackCheck = 0xC0000092u;
constexpr uint32_t kFaultFltUnderflow = 0xC0000093u;
constexpr uint32_t kFaultIntDivideByZero = 0xC0000094u;
constexpr uint32_t kFaultIntOverflow = 0xC0000095u;
constexpr uint32_t kFaultPrivInstruction = 0xC0000096u;
constexpr uint32_t kFaultStackOverflow = 0xC00000FDu;

// _set_se_translator: the translator of the calling thread (null removes it);
// returns the thread's previous translator. It is called on the faulting
// thread with the fault's code and pointers (valid during the call only) and
// is expected to throw; the exception leaves through the faulting instruction
// (the library is built so that every instruction can unwind). If it
// returns, the fault takes its default course.
//
// Faults are the processor's: an invalid memory access, a misaligned access,
// an integer or floating-point trap, an illegal or privileged instruction, a
// breakpoint or single step. The first translator set installs the process's
// handlers for them once. A fault on a thread without a translator takes the
// course it had before: the handler that was installed before ours is
// called, or the process ends by the signal as if nothing had been installed.
// A stack overflow cannot be translated (there is no stack left to run the
// handler on) and ends the process.
using FaultTranslator = void (*)(uint32_t code, FaultPointers* info);
FaultTranslator SetFaultTranslator(FaultTranslator translator);

// Puts back the dispositions found before the first translator was set, where
// ours are still in place: the library calls it when it is unloaded, since
// its handler would be gone with it.
void RemoveFaultHandlers();

}  // namespace kerrow::platform
