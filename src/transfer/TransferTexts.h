// What differs between the four kinds of transfer in their start sequence:
// the kind, the start-failure code and the log texts.
#pragma once

#include <cstdint>

#include "util/Results.h"

namespace kerrow {

struct TransferTexts {
    int32_t kind;
    int32_t failureCode;  // the server refused, or no reply came
    bool resetsProgress;  // play and download start again from 0
    const char* sending;  // followed by the request
    const char* sendFailed;
    const char* accepted;
    const char* failedErr;  // followed by the result, still 0 then
    const char* timedOut;   // followed by the connection number
    const char* threadFailed;
    const char* started;     // null: nothing is logged
    const char* notStarted;  // null: nothing is logged
};

// The upload and backup time-out texts lack the word for time-out, and the
// download has no started and not-started texts: they are written so.
inline const TransferTexts kPlayTexts{kTransferPlay,
                                      200,
                                      true,
                                      "点播开始 发送xml命令：",
                                      "点播开始 失败！",
                                      "点播开始 成功",
                                      "点播开始失败 err：",
                                      "点播开始超时，连接id：",
                                      "创建点播录像线程失败!",
                                      "点播开始 成功",
                                      "点播开始 失败"};
inline const TransferTexts kDownloadTexts{kTransferDownload,
                                          350,
                                          true,
                                          "下载开始 发送xml命令：",
                                          "下载开始 失败！",
                                          "下载开始 成功",
                                          "下载开始失败 err：",
                                          "下载开始超时，连接id：",
                                          "创建下载录像线程失败!",
                                          nullptr,
                                          nullptr};
inline const TransferTexts kUploadTexts{kTransferUpload,
                                        400,
                                        false,
                                        "开始上传文件 发送xml命令：",
                                        "开始上传文件 失败！",
                                        "开始上传文件 成功",
                                        "开始上传文件失败 err：",
                                        "开始上传文件，连接id：",
                                        "创建上传文件线程失败!",
                                        "开始上传文件开始 成功",
                                        "开始上传文件开始 失败"};
inline const TransferTexts kBackupTexts{kTransferBackup,
                                        205,
                                        false,
                                        "开始备份文件 发送xml命令：",
                                        "开始备份文件 失败！",
                                        "开始备份文件 成功",
                                        "开始备份文件失败 err：",
                                        "开始备份文件，连接id：",
                                        "创建备份文件线程失败!",
                                        "开始备份文件开始 成功",
                                        "开始备份文件开始 失败"};

}  // namespace kerrow
