// The server's builders: every reply and notice that a storage server sends
// to the library. Each is a pure function, values in and one complete,
// stamped message out (overwriting out), printed as the client's builders
// print: declaration, ContentLength, ContentType, Method and Action, four
// spaces of indent, "\n" line breaks. The client's readers (Replies.h,
// PolicyMessages.h, FileMessages.h, the transfer loop) read them back.
//
// The client reads every number with a 32-bit atol: ClientIds, ids and sizes
// above 2147483647 reach it as 2147483647, so a server hands out no larger
// ones.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "protocol/Envelope.h"
#include "protocol/Records.h"

namespace kerrow {

// The result reply: Action/ControlResponse/Code. Answers the camera, policy,
// alarm and manual-recording requests, DeleteFile, ModifyFilePermission and
// the upload-finished notice. 0 is success.
void BuildResultReply(int32_t method, int32_t code, std::string& out);

// The same under Action/ModifyResponse/Code, which the client reads when
// ControlResponse is absent.
void BuildModifyResultReply(int32_t method, int32_t code, std::string& out);

// The start reply of a transfer (500, 510, 519, 515): Action/ClientId, the
// server's number for the transfer, then Action/ControlResponse/Code. A code
// of 1 or above refuses the start.
void BuildStartReply(int32_t method, uint32_t clientId, int32_t code, std::string& out);

// The answer to a playback control (507): any control message that is
// neither a progress nor an end notice confirms it. Method 507,
// Action/ClientId and Action/ControlResponse/Code.
void BuildPlayControlAck(uint32_t clientId, int32_t code, std::string& out);

// Progress of a transfer: Method 508 (playback), 512 (download) or 517
// (backup), Action/ClientId and Action/Position (a percentage).
void BuildProgressNotice(int32_t method, uint32_t clientId, int32_t position, std::string& out);

// The end of a transfer: Method 500 (playback), 510 (download) or 515
// (backup), Action/ClientId.
void BuildEndNotice(int32_t method, uint32_t clientId, std::string& out);

// The GetVideoFileList reply (600): TotalResult and one File per entry.
void BuildFileListReply(const std::vector<FileEntry>& files, std::string& out);

// The RecordPolicy_Query reply (200): RecordPolicy/TotalResult and one
// Policy per entry, each with Tasksnum (the number of its tasks, whatever
// taskCount says) and, when it has tasks, Tasks/Task.
void BuildPolicyQueryReply(const std::vector<PolicyEntry>& policies, std::string& out);

// The RecordPolicy_QueryTask reply (201): TotalResult and one Task per record.
void BuildTaskQueryReply(const std::vector<TaskRecord>& tasks, std::string& out);

// Media on a transfer stream: content type 1 or 3 carries a media header, 2
// or 4 media data. The message is the 110-byte data head with the given
// content type and the payload behind it.
constexpr size_t kMaxMediaMessageSize = 40960;  // the transfer loop's limit
constexpr size_t kMaxMediaPayload = kMaxMediaMessageSize - kDataHeadSize;  // 40850
// false (out untouched) when contentType is not 1 to 4 or size exceeds
// kMaxMediaPayload.
bool BuildMediaMessage(int contentType, const char* data, size_t size, std::string& out);
// Cuts a block into messages of at most maxPayload bytes each (clamped to 1
// .. kMaxMediaPayload) and appends them to out; an empty block gives none.
// false when contentType is not 1 to 4.
bool AppendMediaMessages(int contentType, const char* data, size_t size, size_t maxPayload,
                         std::vector<std::string>& out);

}  // namespace kerrow
