// The file catalogue: list the recorded files, delete or back up a file,
// change whether a file may be deleted.
#pragma once

#include <string>

#include "protocol/Records.h"

class TiXmlDocument;

namespace kerrow {

// GetVideoFileList (600). AlarmType carries the record type, as the server
// expects; the query's alarm text is not sent.
void BuildFileListRequest(const FileQuery& query, std::string& out);
// DeleteFile (516) or BackupFile (515): the Method is the record's.
void BuildFileModifyRequest(const FileRecord& file, std::string& out);
// ModifyFilePermission (514), whatever the record's method.
void BuildFilePermissionRequest(const FileRecord& file, std::string& out);

// The GetVideoFileList reply; -1 when the head or TotalResult is missing.
int ParseFileListReply(const TiXmlDocument& document, ListReply<FileEntry>& reply);

}  // namespace kerrow
