// The process-wide counter that numbers connections and transfer handles:
// 1 to 4294967294, then 1 again; never 0.
#pragma once

#include <cstdint>

namespace kerrow::ids {

uint32_t Next();
// Frees the counter at unload; a later Next starts a new one from 1.
void Free();
void SetNextForTesting(uint32_t next);

}  // namespace kerrow::ids
