// The envelope that every message travels in: a printed XML document whose
// first lines form a head at fixed byte positions.
//
//   0   <?xml version="1.0" encoding="UTF-8" ?>\n
//   40  <ContentLength>  55: eight length digits  </ContentLength>\n
//   80  <ContentType>    93: two type digits      </ContentType>\n
//   110 control message: <Method> and <Action>; data message: the payload
//
// The length digits give the whole message's size, head included. Receivers
// find the length and the content type by position alone.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace kerrow {

constexpr size_t kHeadReadSize = 63;  // bytes 0..62 hold everything up to the length digits
constexpr size_t kLengthOffset = 55;
constexpr size_t kLengthDigits = 8;
constexpr size_t kContentTypeOffset = 93;
constexpr size_t kContentTypeDigits = 2;
constexpr size_t kDataHeadSize = 110;  // the payload of a data message starts here
constexpr size_t kUploadChunkSize = 2048;
constexpr size_t kMaxUploadMessageSize = kDataHeadSize + kUploadChunkSize;  // 2158

constexpr int kContentTypeControl = 0;
constexpr int kContentTypeUploadData = 1;

// The totals a reader of framed messages accepts; maxTotal 0 means no upper
// limit.
struct FrameLimits {
    long minTotal;
    long maxTotal;
};
constexpr FrameLimits kDocumentWaitLimits{64, 0};    // a reply read as a document
constexpr FrameLimits kResultWaitLimits{64, 10240};  // a reply read for its result code
constexpr FrameLimits kTransferLimits{64, 40960};    // a message of a transfer stream

// atol of the eight characters at offset 55 and atoi of the two at offset 93
// of a received message of size bytes. Characters beyond size are not read:
// the number ends there (a message too short for its content type reads 0).
long ReadTotalLength(const char* message, size_t size);
int ReadContentType(const char* message, size_t size);
bool TotalAccepted(long total, const FrameLimits& limits);

struct HeadCheck {
    bool accepted;
    long total;  // as read; meaningless when fewer than 63 bytes were given
};
// Looks at the first 63 bytes of a received message: its announced total and
// whether the reader may go on to read that many bytes.
HeadCheck InspectHead(const char* head, size_t size, const FrameLimits& limits);

// Writes the message's current size as eight zero-filled digits over bytes
// 55..62; the size does not change.
void StampContentLength(std::string& message);

// The 110-byte head of a data message (content type "01"), digits "00000000".
void BuildDataHead(std::string& out);

// Appends one data message, head then chunk, and stamps its total (110 plus
// size) into the appended head. head is what BuildDataHead printed.
void AppendDataMessage(const std::string& head, const char* chunk, size_t size, std::string& out);

// Cuts a block into chunks of 2048 bytes, the last one shorter, and appends
// one data message per chunk to out. An empty block gives no message.
void BuildUploadDataMessages(const char* data, size_t size, std::vector<std::string>& out);

}  // namespace kerrow
