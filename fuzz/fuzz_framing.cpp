// Fuzzes what a receiver does with the bytes of one framed message: the head
// checks of the three readers, the content type, and for a control message of
// a transfer stream the parse and the notice readers. Also checks that the
// upload framing of the same bytes puts them back together, and that the
// frame reader cuts the bytes as a stream exactly as a plain model of the
// framing does, whatever the pieces they arrive in, without a buffer larger
// than what arrived.
#include <tinyxml.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "protocol/Elements.h"
#include "protocol/Envelope.h"
#include "protocol/FrameReader.h"
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

// The envelope's framing applied to a whole stream: a head whose total is
// outside the limits is dropped (63 bytes), a message is taken whole.
struct Cut {
    bool rejected;
    size_t offset;
    long total;
};
std::vector<Cut> ModelCuts(const char* data, size_t size, const kerrow::FrameLimits& limits) {
    std::vector<Cut> cuts;
    size_t at = 0;
    while (size - at >= kerrow::kHeadReadSize) {
        const long total = kerrow::ReadTotalLength(data + at, kerrow::kHeadReadSize);
        if (!kerrow::TotalAccepted(total, limits)) {
            cuts.push_back({true, at, total});
            at += kerrow::kHeadReadSize;
        } else if (size - at >= static_cast<size_t>(total)) {
            cuts.push_back({false, at, total});
            at += static_cast<size_t>(total);
        } else {
            break;
        }
    }
    return cuts;
}

// Feeds the stream to a reader in pieces whose sizes come from seed, through
// Feed, Prepare/Commit, or reads bounded by Wanted() as the control waits
// read, and checks every answer against the model.
void CheckReader(const char* data, size_t size, const kerrow::FrameLimits& limits, uint8_t seed) {
    const std::vector<Cut> cuts = ModelCuts(data, size, limits);
    kerrow::FrameReader reader(limits);
    if (seed & 0x80) reader.Reserve(256 * 1024);
    const size_t pieceSizes[] = {1, 7, 62, 63, 64, 1000, 65536, 300000};
    const int way = seed % 3;
    size_t at = 0;
    size_t next = 0;
    size_t turn = seed;
    while (at < size) {
        size_t piece = std::min(pieceSizes[turn++ % 8], size - at);
        if (way == 2) {
            const size_t wanted = reader.Wanted();
            Require(wanted > 0);
            piece = std::min(piece, wanted);
        }
        if (way == 0) {
            reader.Feed(data + at, piece);
        } else {
            char* space = nullptr;
            const size_t room = reader.Prepare(piece, &space);
            Require(room >= std::min(piece, kerrow::FrameReader::kGrowStep) && room <= piece);
            piece = room;
            std::memcpy(space, data + at, piece);
            reader.Commit(piece);
        }
        at += piece;
        for (;;) {
            const kerrow::FrameReader::Result r = reader.Next();
            if (r == kerrow::FrameReader::Result::NeedMore) break;
            Require(next < cuts.size());
            const Cut& cut = cuts[next++];
            Require(reader.Total() == cut.total);
            if (r == kerrow::FrameReader::Result::Rejected) {
                Require(cut.rejected);
            } else {
                Require(!cut.rejected);
                Require(std::memcmp(reader.Message(), data + cut.offset,
                                    static_cast<size_t>(cut.total)) == 0);
                Require(reader.ContentType() ==
                        kerrow::ReadContentType(data + cut.offset, static_cast<size_t>(cut.total)));
            }
        }
        // Never more room than what arrived and one read's worth.
        Require(reader.Capacity() <= 2 * (at + 300000) + 256 * 1024);
    }
    Require(next == cuts.size());
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
    const uint8_t seed = size > 0 ? bytes[size - 1] : 0;
    CheckReader(data, size, kerrow::kDocumentWaitLimits, seed);
    CheckReader(data, size, kerrow::kResultWaitLimits, static_cast<uint8_t>(seed + 1));
    CheckReader(data, size, kerrow::kTransferLimits, static_cast<uint8_t>(seed + 2));
    return 0;
}
