// The upload loop of the worker: every cycle reads up to one 32768-byte block
// of the source, hands it to SendUploadData and pads the cycle to 125 ms, so
// an upload never runs faster than 262144 bytes a second.
#include <tinyxml.h>

#include <vector>

#include "client/Client.h"
#include "log/Log.h"
#include "platform/Files.h"
#include "protocol/MediaMessages.h"
#include "protocol/Methods.h"
#include "protocol/Replies.h"
#include "transfer/Transfer.h"
#include "util/TimeText.h"

namespace kerrow {
namespace {

constexpr uint32_t kBlockSize = 32768;
constexpr int32_t kCycleMs = 125;
constexpr uint32_t kPaceSleepMs = 3;

}  // namespace

void Client::UploadLoop(Transfer& transfer) {
    std::vector<uint8_t> block(kBlockSize);
    auto closeSource = [&transfer] { transfer.file.Close(); };

    while (!transfer.stopRequest.load()) {
        platform::GetLocalTime(&createdAt_);

        uint32_t filled = 0;
        int32_t lastRead = 0;
        do {
            lastRead =
                platform::ReadFile(transfer.file.Get(), block.data() + filled, kBlockSize - filled);
            if (lastRead > 0) filled += static_cast<uint32_t>(lastRead);
        } while (lastRead > 0 && filled < kBlockSize);

        if (SendUploadData(block.data(), filled, transfer) == -1) {
            // The cycle still counts the block and looks for the end.
            closeSource();
            transfer.stopRequest.store(true);
        }
        uploadSentBytes_.fetch_add(filled);

        if (lastRead <= 0) {
            // End of the file, or the file could not be read further.
            closeSource();
            transfer.stopRequest.store(true);
            if (uploadSentBytes_.load() == uploadTotalBytes_.load()) {
                KLOG_INFO << "上传完成";
                transfer.CallTerminal(connectionId_, true);
                std::string notice;
                BuildControlResponseMessage(kMethodUpload, transferTaskId_.load(), 0, notice);
                Send(notice.data(), static_cast<int32_t>(notice.size()));
            } else {
                KLOG_INFO << "ReadFile error!";
                transfer.CallTerminal(connectionId_, false);
            }
        }

        // A zero wait makes a single read pass, which cannot complete a
        // message: the poll consumes what the server sent and yields nothing.
        if (std::unique_ptr<TiXmlDocument> reply = ReceiveXml(0)) {
            int32_t method = 0;
            int32_t code = 0;
            ParseControlResponse(*reply, method, code);
            if (code > 0) {
                SetLastError(code);
                transfer.file.Close();
                transfer.stopRequest.store(true);
                KLOG_INFO << "服务器端告知上传文件失败，错误码：" << code;
            }
        }

        // Pad the cycle to 125 ms in short sleeps, leaving early on a stop.
        platform::SystemTime paceStart;
        platform::GetLocalTime(&paceStart);
        const int32_t budget = kCycleMs - ElapsedMilliseconds(&createdAt_, &paceStart);
        for (int32_t i = 0; i < budget; ++i) {
            if (transfer.stopRequest.load()) break;
            transfer.Idle(kPaceSleepMs);
            platform::SystemTime now;
            platform::GetLocalTime(&now);
            if (ElapsedMilliseconds(&paceStart, &now) >= budget) break;
        }
        UpdateActiveTime();
    }
}

}  // namespace kerrow
