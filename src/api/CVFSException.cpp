#include "api/CVFSException.h"

#include <cstdio>
#include <cstring>

namespace kerrow {
namespace {

struct FaultNameEntry {
    uint32_t code;
    const char* name;
};

constexpr FaultNameEntry kFaultNames[] = {
    {platform::kFaultAccessViolation, "EXCEPTION_ACCESS_VIOLATION"},
    {platform::kFaultDatatypeMisalignment, "EXCEPTION_DATATYPE_MISALIGNMENT"},
    {platform::kFaultBreakpoint, "EXCEPTION_BREAKPOINT"},
    {platform::kFaultSingleStep, "EXCEPTION_SINGLE_STEP"},
    {platform::kFaultInPageError, "EXCEPTION_IN_PAGE_ERROR"},
    {platform::kFaultIllegalInstruction, "EXCEPTION_ILLEGAL_INSTRUCTION"},
    {0xC0000025u, "EXCEPTION_NONCONTINUABLE_EXCEPTION"},
    {0xC0000026u, "EXCEPTION_INVALID_DISPOSITION"},
    {platform::kFaultArrayBoundsExceeded, "EXCEPTION_ARRAY_BOUNDS_EXCEEDED"},
    {platform::kFaultFltDenormalOperand, "EXCEPTION_FLT_DENORMAL_OPERAND"},
    {platform::kFaultFltDivideByZero, "EXCEPTION_FLT_DIVIDE_BY_ZERO"},
    {platform::kFaultFltInexactResult, "EXCEPTION_FLT_INEXACT_RESULT"},
    {platform::kFaultFltInvalidOperation, "EXCEPTION_FLT_INVALID_OPERATION"},
    {platform::kFaultFltOverflow, "EXCEPTION_FLT_OVERFLOW"},
    {platform::kFaultFltStackCheck, "EXCEPTION_FLT_STACK_CHECK"},
    {platform::kFaultFltUnderflow, "EXCEPTION_FLT_UNDERFLOW"},
    {platform::kFaultIntDivideByZero, "EXCEPTION_INT_DIVIDE_BY_ZERO"},
    {platform::kFaultIntOverflow, "EXCEPTION_INT_OVERFLOW"},
    {platform::kFaultPrivInstruction, "EXCEPTION_PRIV_INSTRUCTION"},
    {platform::kFaultStackOverflow, "EXCEPTION_STACK_OVERFLOW"},
};

}  // namespace

void FaultName(uint32_t code, char* text, uint32_t size) {
    for (const FaultNameEntry& entry : kFaultNames) {
        if (entry.code == code) {
            std::snprintf(text, size, "%s", entry.name);
            return;
        }
    }
    // Fault codes have the top bit set, so most of them print negative.
    std::snprintf(text, size, "Error code %d", static_cast<int32_t>(code));
}

CVFSException::CVFSException(const platform::FaultPointers* info) {
    std::memcpy(&record_, info->ExceptionRecord, sizeof(record_));
    std::memcpy(&context_, info->ContextRecord, sizeof(context_));
    code_ = record_.ExceptionCode;
    char name[512] = {};
    FaultName(code_, name, sizeof(name));
    std::memcpy(message_, name, sizeof(message_));
}

CVFSException::CVFSException(const CVFSException& other) { *this = other; }

CVFSException& CVFSException::operator=(const CVFSException& other) {
    std::memcpy(&record_, &other.record_, sizeof(record_));
    std::memcpy(&context_, &other.context_, sizeof(context_));
    std::memcpy(message_, other.message_, sizeof(message_));
    code_ = other.code_;
    return *this;
}

int CVFSException::GetErrorMessage(char* text, uint32_t /*maxLength*/, uint32_t* /*helpContext*/) {
    std::strcpy(text, message_);
    return 1;
}

uint32_t CVFSException::GetErrorCode() { return code_; }

void TranslateFault(uint32_t /*code*/, platform::FaultPointers* info) { throw CVFSException(info); }

}  // namespace kerrow
