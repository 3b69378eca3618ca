// The server's catalogue of recorded files: list, delete, change permission.
#include <tinyxml.h>

#include "client/Client.h"
#include "client/ControlExchange.h"
#include "client/QueryResults.h"
#include "log/Log.h"
#include "protocol/FileMessages.h"
#include "protocol/Replies.h"

namespace kerrow {
namespace {

const ControlTexts kQueryFiles{"查找视频文件 发送xml命令：", "查找视频文件 失败！",        "",
                               "查找视频文件失败 err：",     "查找视频文件超时，连接id：", 300};
const ControlTexts kDeleteFile{"删除文件 发送xml命令：", "删除文件 失败！",    "删除文件 成功",
                               "删除文件失败 err：",     "删除文件，连接id：", 206};
const ControlTexts kModifyPermission{
    "修改文件可删除与否权限 发送xml命令：", "修改文件可删除与否权限 失败！",
    "修改文件可删除与否权限 成功",          "修改文件可删除与否权限失败 err：",
    "修改文件可删除与否权限，连接id：",     204};

}  // namespace

int32_t Client::QueryFiles(const FileQuery& query, std::list<VideoFileInfo>& result) {
    std::string request;
    BuildFileListRequest(query, request);
    std::unique_ptr<TiXmlDocument> document;
    int32_t code = RunDocumentExchange(request, kQueryFiles, false, document);
    if (!document) return code;
    ListReply<FileEntry> reply;
    ParseFileListReply(*document, reply);
    for (const FileEntry& entry : reply.Items) AppendFile(entry, result);
    return kResultOk;
}

// Delete and permission judge the server's code differently from the other
// control operations: only a code above 0 fails.
int32_t Client::RunFileExchange(const std::string& request, const ControlTexts& texts) {
    std::unique_ptr<TiXmlDocument> document;
    int32_t result = RunDocumentExchange(request, texts, true, document);
    if (!document) return result;
    int32_t method = 0, code = 0;
    ParseControlResponse(*document, method, code);
    if (code <= 0) {
        KLOG_INFO << texts.succeeded;
        return kResultOk;
    }
    SetLastError(texts.failureCode);
    return texts.failureCode;
}

int32_t Client::DeleteFile(const FileRecord& file) {
    std::string request;
    BuildFileModifyRequest(file, request);
    return RunFileExchange(request, kDeleteFile);
}

int32_t Client::ModifyFilePermission(const FileRecord& file) {
    std::string request;
    BuildFilePermissionRequest(file, request);
    return RunFileExchange(request, kModifyPermission);
}

}  // namespace kerrow
