// Method numbers: the operation that a control message stands for.
#pragma once

namespace kerrow {

enum MethodNumber : int {
    kMethodAddDevice = 100,
    kMethodMdyDevice = 101,
    kMethodDelDevice = 102,
    kMethodPolicyStart = 103,
    kMethodPolicyModify = 104,
    kMethodPolicyDel = 105,
    kMethodAddTask = 106,
    kMethodModifyTask = 107,
    kMethodDelTask = 108,
    kMethodAlarm = 109,
    kMethodStopAlarm = 110,
    kMethodPolicyStartType3 = 111,
    kMethodStopTask = 112,
    kMethodPolicyDelAll = 113,
    kMethodPolicyQuery = 200,
    kMethodTaskQuery = 201,
    kMethodPlay = 500,  // also the server's end-of-playback notice
    kMethodStopPlay = 501,
    kMethodPlayControl = 507,   // pause, resume, fast, slow, jump
    kMethodPlayProgress = 508,  // server notice
    kMethodDownload = 510,      // also the end-of-download notice
    kMethodStopDownload = 511,
    kMethodDownloadProgress = 512,  // server notice
    kMethodFilePermission = 514,
    kMethodBackup = 515,  // also the end-of-backup notice
    kMethodDeleteFile = 516,
    kMethodBackupProgress = 517,  // server notice
    kMethodStopBackup = 518,
    kMethodUpload = 519,  // also the upload-finished notice
    kMethodStopUpload = 520,
    kMethodFileList = 600,
};

}  // namespace kerrow
