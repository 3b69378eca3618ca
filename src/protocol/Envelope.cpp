#include "protocol/Envelope.h"

#include <tinyxml.h>

#include <cstdio>
#include <cstring>
#include <utility>

#include "protocol/MessageTree.h"
#include "protocol/Numbers.h"

namespace kerrow {
namespace {

// "%08lu" into a 9-byte buffer: at most eight digits are produced, the
// leading ones when the value would need more.
void WriteLengthDigits(char* digits, unsigned long value) {
    char text[kLengthDigits + 1];
    if (std::snprintf(text, sizeof text, "%08lu", value) < 0) return;
    std::memcpy(digits, text, kLengthDigits);
}

// The digits of a field at offset that lie within size.
size_t FieldChars(size_t offset, size_t digits, size_t size) {
    if (size <= offset) return 0;
    return size - offset < digits ? size - offset : digits;
}

}  // namespace

long ReadTotalLength(const char* message, size_t size) {
    const size_t chars = FieldChars(kLengthOffset, kLengthDigits, size);
    return chars == 0 ? 0 : ReadLong32(message + kLengthOffset, chars);
}

int ReadContentType(const char* message, size_t size) {
    const size_t chars = FieldChars(kContentTypeOffset, kContentTypeDigits, size);
    return chars == 0 ? 0 : ReadLong32(message + kContentTypeOffset, chars);
}

bool TotalAccepted(long total, const FrameLimits& limits) {
    if (total < limits.minTotal) return false;
    return limits.maxTotal == 0 || total <= limits.maxTotal;
}

HeadCheck InspectHead(const char* head, size_t size, const FrameLimits& limits) {
    if (head == nullptr || size < kHeadReadSize) return {false, 0};
    const long total = ReadTotalLength(head, size);
    return {TotalAccepted(total, limits), total};
}

void StampContentLength(std::string& message) {
    if (message.size() < kLengthOffset + kLengthDigits) return;
    WriteLengthDigits(&message[kLengthOffset], static_cast<unsigned long>(message.size()));
}

void BuildDataHead(std::string& out) {
    TiXmlDocument document;
    AddEnvelopeHead(document, "01");
    PrintDocument(document, out);
}

void AppendDataMessage(const std::string& head, const char* chunk, size_t size, std::string& out) {
    const size_t start = out.size();
    out.append(head);
    out.append(chunk, size);
    if (head.size() >= kLengthOffset + kLengthDigits) {
        WriteLengthDigits(&out[start + kLengthOffset],
                          static_cast<unsigned long>(head.size() + size));
    }
}

void BuildUploadDataMessages(const char* data, size_t size, std::vector<std::string>& out) {
    if (data == nullptr || size == 0) return;
    std::string head;
    BuildDataHead(head);
    for (size_t offset = 0; offset < size; offset += kUploadChunkSize) {
        const size_t chunk = size - offset < kUploadChunkSize ? size - offset : kUploadChunkSize;
        std::string message;
        message.reserve(head.size() + chunk);
        AppendDataMessage(head, data + offset, chunk, message);
        out.push_back(std::move(message));
    }
}

}  // namespace kerrow
