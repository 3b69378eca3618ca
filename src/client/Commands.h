// The numbered commands that the exports hand to a connection's Client.
#pragma once

#include <cstdint>

#include "util/Results.h"

namespace kerrow {

enum Command : int32_t {
    kCmdConnect = 103,  // Client::Init only, never dispatched
    kCmdClose = 104,    // Client::Init only, never dispatched

    kCmdAddDevice = 170,
    kCmdMdyDevice = 171,
    kCmdDelDevice = 172,

    kCmdPolicyStart = 201,
    kCmdPolicyModify = 202,
    kCmdPolicyDel = 203,
    kCmdModifyTask = 204,
    kCmdDelTask = 205,
    kCmdAddTask = 206,
    kCmdStopTask = 207,
    kCmdStopTaskEx = 208,
    kCmdAlarm = 209,
    kCmdStopAlarm = 210,
    kCmdPolicyDelAll = 211,

    kCmdStartPlayByFile = 301,
    kCmdStartPlayByTime = 302,
    kCmdStopPlay = 303,
    kCmdPlayFast = 341,
    kCmdPlaySlow = 342,
    kCmdPlayPause = 344,
    kCmdPlayResume = 345,
    kCmdPlayJump = 346,
    kCmdGetPlayPos = 347,
    kCmdModifyFilePermission = 348,
    kCmdBackupFile = 349,
    kCmdGetBackupPos = 350,
    kCmdStopBackup = 351,
    kCmdDeleteFile = 352,
    kCmdStartUpload = 371,
    kCmdStopUpload = 372,
    kCmdGetUploadPos = 373,
    kCmdStartDownloadByFile = 381,
    kCmdStartDownloadByTime = 382,
    kCmdStopDownload = 383,
    kCmdGetDownloadPos = 384,

    kCmdPolicyQuery = 401,
    kCmdTaskQuery = 402,
    kCmdFileList = 403,
};

}  // namespace kerrow
