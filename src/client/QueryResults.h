// Query results copied into the application's records: texts cut to their
// field width (a full field has no terminating zero), times read at fixed
// columns.
#pragma once

#include <list>

#include "KerrowSDK.h"
#include "protocol/Records.h"

namespace kerrow {

void AppendPolicy(const PolicyEntry& entry, std::list<RecordPolicy>& out);
void AppendTask(const TaskRecord& record, std::list<PolicyTaskInfo>& out);
void AppendFile(const FileEntry& entry, std::list<VideoFileInfo>& out);

// The 12-character name of a stored file: the record type digit and the file
// number zero-padded to eleven digits (2 and 15 give 200000000015).
std::string StoredFileName(int32_t recordType, uint32_t fileId);

}  // namespace kerrow
