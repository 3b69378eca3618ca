// Library start and stop, connections, callbacks and the library queries.
#include "KerrowSDK.h"

#include <atomic>
#include <cstring>
#include <memory>
#include <new>

#include "api/CVFSException.h"
#include "api/Library.h"
#include "log/Log.h"
#include "platform/Fault.h"
#include "platform/Sockets.h"
#include "platform/Sync.h"
#include "platform/Thread.h"
#include "platform/Version.h"
#include "util/Results.h"

namespace kerrow::library {
namespace {

// Read by every export; written by Kerrow_Init and Kerrow_Release, which an
// application does not race against each other.
std::atomic<VideoManage*> g_registry{nullptr};
std::atomic<void (*)()> g_initProbe{nullptr};

// Lives until the process ends, so that the unload hook can still take it.
platform::CriticalSection*& ReleaseLockPointer() {
    static platform::CriticalSection* lock = new platform::CriticalSection();
    return lock;
}

platform::CriticalSection& ReleaseLock() { return *ReleaseLockPointer(); }

// WSAStartup for version 2.2; anything else granted is a failure.
bool StartWinSock() {
    uint16_t granted = 0;
    if (platform::WSAStartup(0x0202, &granted) != 0) return false;
    if ((granted & 0xFF) != 2 || (granted >> 8) != 2) {
        platform::WSACleanup();
        return false;
    }
    return true;
}

}  // namespace

VideoManage* Registry() { return g_registry.load(std::memory_order_acquire); }

void SetInitProbeForTesting(void (*probe)()) { g_initProbe.store(probe); }

void OnProcessAttach() {
    g_registry.store(nullptr);
    log::SetNames("default", ".\\log\\PellamKerrowSDK.log");
}

void OnProcessDetach() { Kerrow_Release(); }

void FreeProcessState() {
    platform::RemoveFaultHandlers();
    log::Shutdown();
    VideoManage::FreeNumberSource();
    delete ReleaseLockPointer();
    ReleaseLockPointer() = nullptr;
}

}  // namespace kerrow::library

using kerrow::VideoManage;
using kerrow::library::Registry;

KERROW_API int KERROW_CALL Kerrow_Init(void) {
    using namespace kerrow;
    platform::SetFaultTranslator(TranslateFault);
    try {
        if (Registry() != nullptr) return kResultNotInitialised;
        library::StartWinSock();  // the first start's result is not looked at
        VideoManage* registry = new (std::nothrow) VideoManage();
        library::g_registry.store(registry, std::memory_order_release);
        if (registry != nullptr) registry->Start();
        if (auto probe = library::g_initProbe.load()) probe();
        // Sockets are started twice per Init and cleaned up once per Release;
        // a failed second start is only logged.
        if (!library::StartWinSock()) {
            KLOG_ERROR_AT("Kerrow_Init", ".\\KerrowSDK", 450) << "StartWinSock error";
        }
        KLOG_INFO << "Kerrow_Init() success!";
        return kResultOk;
    } catch (CVFSException& fault) {
        char text[256] = {};
        fault.GetErrorMessage(text, sizeof(text), nullptr);
        KLOG_ERROR_AT("Kerrow_Init", ".\\KerrowSDK", 465) << "Kerrow_Init() error:" << text;
        return -1;
    }
}

KERROW_API int KERROW_CALL Kerrow_Release(void) {
    using namespace kerrow;
    platform::CriticalSectionGuard guard(library::ReleaseLock());
    if (VideoManage* registry = library::g_registry.exchange(nullptr)) {
        delete registry;
        platform::WSACleanup();
    }
    return kResultOk;
}

KERROW_API int KERROW_CALL Kerrow_GetVersion(void) {
    using namespace kerrow::platform;
    uint32_t size = GetFileVersionInfoSize("KerrowSDK.dll");
    if (size == 0) return 0;
    std::unique_ptr<char[]> block(new (std::nothrow) char[size]);
    if (!block || !GetFileVersionInfo("KerrowSDK.dll", size, block.get())) return 0;
    void* value = nullptr;
    uint32_t length = 0;
    if (VerQueryValue(block.get(), "\\", &value, &length) && value != nullptr) {
        const auto* info = static_cast<const FixedFileInfo*>(value);
        uint32_t version = (info->dwFileVersionMS >> 16) * (1u << 24) +
                           (info->dwFileVersionMS & 0xFFFF) * (1u << 16) +
                           (info->dwFileVersionLS >> 16) * (1u << 8) +
                           (info->dwFileVersionLS & 0xFFFF);
        (void)version;  // computed and dropped: the export answers 0 in every case
    }
    return 0;
}

KERROW_API int KERROW_CALL Kerrow_GetLastError(void) { return 0; }

KERROW_API int KERROW_CALL Kerrow_GetTaskNum(void) {
    // An application may call in from inside a callback that a stop can
    // cancel: the cancellation never acts inside the library's own code.
    kerrow::platform::NoCancellation noCancellation;
    VideoManage* registry = Registry();
    if (registry == nullptr) return kerrow::kResultNotInitialised;
    return registry->GetTaskNum();
}

KERROW_API int KERROW_CALL Kerrow_Connect(const ConnectionRecord* record, uint32_t* connectionId) {
    // An application may call in from inside a callback that a stop can
    // cancel: the cancellation never acts inside the library's own code.
    kerrow::platform::NoCancellation noCancellation;
    VideoManage* registry = Registry();
    if (registry == nullptr) return kerrow::kResultNotInitialised;
    int32_t result = 0;
    uint32_t id = record != nullptr ? registry->Connect(record, &result) : 0;
    if (record == nullptr) result = kerrow::kResultBadArgument;
    if (connectionId != nullptr) *connectionId = id;
    KLOG_INFO << "Client_Connect id:" << id;
    return result;
}

KERROW_API int KERROW_CALL Kerrow_Disconnect(uint32_t connectionId) {
    // An application may call in from inside a callback that a stop can
    // cancel: the cancellation never acts inside the library's own code.
    kerrow::platform::NoCancellation noCancellation;
    VideoManage* registry = Registry();
    if (registry == nullptr) return kerrow::kResultNotInitialised;
    int32_t result = registry->Disconnect(connectionId);
    KLOG_INFO << "Client_Disconnect id:" << connectionId;
    return result;
}

KERROW_API int KERROW_CALL Kerrow_SetMessageCallBack(void*, void*) { return 0; }

KERROW_API int KERROW_CALL Kerrow_SetVideoDownLoadDataCallBack(uint32_t, uint32_t, void*, void*) {
    return 0;
}

namespace {

int SetTerminal(int32_t kind, uint32_t connectionId, uint32_t transferHandle,
                TerminalCallBack callback, void* user) {
    // An application may call in from inside a callback that a stop can
    // cancel: the cancellation never acts inside the library's own code.
    kerrow::platform::NoCancellation noCancellation;
    VideoManage* registry = Registry();
    if (registry == nullptr) return kerrow::kResultNotInitialised;
    return registry->SetTerminalCallBack(kind, connectionId, transferHandle, callback, user);
}

}  // namespace

KERROW_API int KERROW_CALL Kerrow_SetVideoPlayTerminalCallBack(uint32_t connectionId,
                                                               uint32_t transferHandle,
                                                               TerminalCallBack callback,
                                                               void* user) {
    return SetTerminal(kerrow::kTransferPlay, connectionId, transferHandle, callback, user);
}

KERROW_API int KERROW_CALL Kerrow_SetVideoDownLoadTerminalCallBack(uint32_t connectionId,
                                                                   uint32_t transferHandle,
                                                                   TerminalCallBack callback,
                                                                   void* user) {
    return SetTerminal(kerrow::kTransferDownload, connectionId, transferHandle, callback, user);
}

KERROW_API int KERROW_CALL Kerrow_SetVideoUpLoadTerminalCallBack(uint32_t connectionId,
                                                                 uint32_t transferHandle,
                                                                 TerminalCallBack callback,
                                                                 void* user) {
    return SetTerminal(kerrow::kTransferUpload, connectionId, transferHandle, callback, user);
}

KERROW_API int KERROW_CALL Kerrow_SetVideoBackupTerminalCallBack(uint32_t connectionId,
                                                                 uint32_t transferHandle,
                                                                 TerminalCallBack callback,
                                                                 void* user) {
    return SetTerminal(kerrow::kTransferBackup, connectionId, transferHandle, callback, user);
}

KERROW_API int KERROW_CALL Kerrow_SetVideoPlayDataCallBack(uint32_t connectionId,
                                                           uint32_t transferHandle,
                                                           PlayDataCallBack callback, void* user) {
    // An application may call in from inside a callback that a stop can
    // cancel: the cancellation never acts inside the library's own code.
    kerrow::platform::NoCancellation noCancellation;
    VideoManage* registry = Registry();
    if (registry == nullptr) return kerrow::kResultNotInitialised;
    return registry->SetPlayDataCallBack(connectionId, transferHandle, callback, user);
}
