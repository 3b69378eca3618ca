// Readers of the replies and notices that answer every request: the result
// code of a reply and the progress of a transfer.
#pragma once

#include <cstdint>

class TiXmlDocument;

namespace kerrow {

// Sets method and code to 0, then reads Method and Action/ControlResponse/Code,
// or Action/ModifyResponse/Code when ControlResponse is absent. 0 when a Code
// was found, -1 (logged) otherwise.
int ParseControlResponse(const TiXmlDocument& document, int32_t& method, int32_t& code);

// Reads Action/ClientId and Action/Position of a progress notice; a missing
// one is logged and leaves its output as it was. -1 only when Action is
// missing.
int ParseProgress(const TiXmlDocument& document, uint32_t& clientId, int32_t& position);

}  // namespace kerrow
