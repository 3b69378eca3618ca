// The control messages of playback, download and upload: start requests,
// playback controls, stop requests and the upload-finished notice.
#pragma once

#include <cstdint>
#include <string>

#include "protocol/Records.h"

namespace kerrow {

// StartVideoPlay (500).
void BuildPlayRequest(const MediaRequest& request, std::string& out);
// StartVideoDownLoad (510): the play request without FilesNum.
void BuildDownloadRequest(const MediaRequest& request, std::string& out);
// A playback control (507) or StopVideoPlay (501, ClientId only), by the
// record's Method.
void BuildPlayControlRequest(const PlayControl& control, std::string& out);
// StartVideoUpLoad (519).
void BuildUploadRequest(const UploadRequest& request, std::string& out);
// Action/ClientId alone: StopVideoDownLoad (511), StopBackupFile (518),
// StopVideoUpLoad (520).
void BuildClientIdMessage(int32_t method, uint32_t clientId, std::string& out);
// Action/ClientId and Action/ControlResponse/Code: the upload-finished notice
// (519).
void BuildControlResponseMessage(int32_t method, uint32_t clientId, int32_t code, std::string& out);

}  // namespace kerrow
