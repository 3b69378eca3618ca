// The exports turn their arguments into the records that the operations take.
// Each conversion is a pure function of the arguments.
#pragma once

#include <cstdint>
#include <string>

#include "KerrowSDK.h"
#include "protocol/Records.h"
#include "util/FieldText.h"

namespace kerrow {

// The 12-character stored file name: the first character is the record type,
// the other eleven the file number (both read as the run-time library reads
// numbers: a non-digit ends the number, a file number beyond 32 bits
// saturates). Only the characters before a terminating zero are read.
struct StoredFileName {
    int16_t recordType = 0;
    uint32_t fileId = 0;
};
StoredFileName SplitFileName(const char* fileName);

FileRecord FileRecordFromName(const char* fileName);
MediaRequest MediaRequestByFile(const char* fileName);
MediaRequest MediaRequestByTime(uint16_t recordType, TransferTime start, TransferTime end);

// AddTask and ModifyTask: the year printed without padding and the month two
// wide (2024 and 3 give 202403), hour and minute two wide each (0805).
TaskRequest TaskRequestFromPolicyTask(uint32_t policyId, const PolicyTask& task, bool withTaskId);

AlarmRequest AlarmRequestFromInput(const AlarmInput& alarm);
PolicyQuery PolicyQueryFromArguments(const char* cameraGuid, uint32_t recordType);
TaskQuery TaskQueryFromArguments(const char* cameraGuid, uint16_t recordType, uint16_t cronType);
FileQuery FileQueryFromArguments(const char* cameraGuid, uint16_t recordType, const char* alarmType,
                                 TransferTime start, TransferTime end);

}  // namespace kerrow
