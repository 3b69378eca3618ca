// Processor faults as C++ exceptions. Kerrow_Init installs TranslateFault on
// its calling thread; a fault on that thread then arrives as a CVFSException
// carrying the fault record, the processor context and the fault's name.
#pragma once

#include <cstdint>

#include "platform/Fault.h"

namespace kerrow {

class CVFSException {
  public:
    explicit CVFSException(const platform::FaultPointers* info);
    CVFSException(const CVFSException& other);
    CVFSException& operator=(const CVFSException& other);
    virtual ~CVFSException() = default;

    // Copies the fault's name into text; the names are at most 34 characters,
    // and text is trusted to hold them (maxLength and helpContext are unused).
    virtual int GetErrorMessage(char* text, uint32_t maxLength, uint32_t* helpContext);
    virtual uint32_t GetErrorCode();

  private:
    platform::FaultRecord record_;
    platform::FaultContext context_;
    char message_[512];
    uint32_t code_;
};

// Writes the Windows name of the fault code into text ("Error code %d" for a
// code without one).
void FaultName(uint32_t code, char* text, uint32_t size);

// The translator handed to the platform's fault hook: throws a CVFSException
// built from info (the code argument itself is not used).
void TranslateFault(uint32_t code, platform::FaultPointers* info);

}  // namespace kerrow
