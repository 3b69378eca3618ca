// Fuzzes what a receiver does with the bytes of one framed message: the head
// checks of the three readers, the content type, and for a control message of
// a transfer stream the parse and the notice readers. Also checks that the
// upload framing of the same bytes puts them back together.
#include <tinyxml.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "protocol/Elements.h"
#include "protocol/Envelope.h"
#include "protocol/Replies.h"

namespace {

void Require(bool condition) {
    if (!condition) std::abort();
}

void CheckUploadFraming(const char* data, size_t size) {
    std::vector<std::string> messages;
    kerrow::BuildUploadDataMessages(data, size, messages);
    std::string payload;
    for (const std::string& message : messages) {
        Require(message.size() > kerrow::kDataHeadSize);
        Require(message.size() <= kerrow::kMaxUploadMessageSize);
        Require(kerrow::ReadTotalLength(message.data(), message.size()) ==
                static_cast<long>(message.size()));
        Require(kerrow::ReadContentType(message.data(), message.size()) ==
                kerrow::kContentTypeUploadData);
        payload.append(message, kerrow::kDataHeadSize, std::string::npos);
    }
    Require(payload == std::string(data, size));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    const char* data = reinterpret_cast<const char*>(bytes);
    const kerrow::HeadCheck document = kerrow::InspectHead(data, size, kerrow::kDocumentWaitLimits);
    const kerrow::HeadCheck result = kerrow::InspectHead(data, size, kerrow::kResultWaitLimits);
    const kerrow::HeadCheck transfer = kerrow::InspectHead(data, size, kerrow::kTransferLimits);
    // The limits nest: what a narrower reader takes, a wider one takes too.
    Require(!result.accepted || transfer.accepted);
    Require(!transfer.accepted || document.accepted);
    if (document.accepted) Require(document.total >= 64 && document.total <= 99999999);

    if (transfer.accepted && size >= static_cast<size_t>(transfer.total)) {
        const std::string message(data, static_cast<size_t>(transfer.total));
        const int contentType = kerrow::ReadContentType(message.data(), message.size());
        if (contentType == kerrow::kContentTypeControl) {
            TiXmlDocument parsed;
            if (kerrow::ParseDocument(message.data(), message.size(), parsed)) {
                uint32_t clientId = 0;
                int32_t position = 0;
                kerrow::ReadMethod(parsed);
                kerrow::ParseProgress(parsed, clientId, position);
            }
        }
    }
    if (size <= 3 * kerrow::kUploadChunkSize + 1) CheckUploadFraming(data, size);
    return 0;
}
