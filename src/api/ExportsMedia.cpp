// Playback, download and upload exports: each turns its arguments into the
// command's input record and dispatches it.
#include "KerrowSDK.h"
#include "api/Conversions.h"
#include "api/Dispatch.h"
#include "client/Commands.h"

using namespace kerrow;

namespace {

bool Initialised() { return library::Registry() != nullptr; }

int DispatchPlayControl(uint32_t connectionId, int32_t code, uint32_t& transferHandle,
                        uint16_t method, uint16_t action, float speed = 0, uint16_t position = 0,
                        void* output = nullptr) {
    PlayControl control;
    control.Method = method;
    control.PlayAction = action;
    control.PlaySpeed = speed;
    control.Position = position;
    return Dispatch(connectionId, code, &control, output, &transferHandle);
}

constexpr uint16_t kMethodStopPlay = 501;
constexpr uint16_t kMethodPlayControl = 507;

}  // namespace

KERROW_API int KERROW_CALL Kerrow_StartVideoPlay_F(uint32_t connectionId, const char* fileName,
                                                   uint32_t* transferHandle) {
    if (!Initialised()) return kResultNotInitialised;
    if (fileName == nullptr) return kResultBadArgument;
    MediaRequest request = MediaRequestByFile(fileName);
    return Dispatch(connectionId, kCmdStartPlayByFile, &request, nullptr, transferHandle);
}

KERROW_API int KERROW_CALL Kerrow_StartVideoPlay_T(uint32_t connectionId, uint16_t recordType,
                                                   TransferTime start, TransferTime end,
                                                   uint32_t* transferHandle) {
    if (!Initialised()) return kResultNotInitialised;
    MediaRequest request = MediaRequestByTime(recordType, start, end);
    return Dispatch(connectionId, kCmdStartPlayByTime, &request, nullptr, transferHandle);
}

KERROW_API int KERROW_CALL Kerrow_StopVideoPlay(uint32_t connectionId, uint32_t transferHandle) {
    return DispatchPlayControl(connectionId, kCmdStopPlay, transferHandle, kMethodStopPlay, 0);
}

// Fast and slow send the same action and differ only in their command code.
KERROW_API int KERROW_CALL Kerrow_VideoPlayFast(uint32_t connectionId, uint32_t transferHandle,
                                                float speed) {
    return DispatchPlayControl(connectionId, kCmdPlayFast, transferHandle, kMethodPlayControl, 3,
                               speed);
}

KERROW_API int KERROW_CALL Kerrow_VideoPlaySlow(uint32_t connectionId, uint32_t transferHandle,
                                                float speed) {
    return DispatchPlayControl(connectionId, kCmdPlaySlow, transferHandle, kMethodPlayControl, 3,
                               speed);
}

KERROW_API int KERROW_CALL Kerrow_VideoPlayPause(uint32_t connectionId, uint32_t transferHandle) {
    return DispatchPlayControl(connectionId, kCmdPlayPause, transferHandle, kMethodPlayControl, 1);
}

KERROW_API int KERROW_CALL Kerrow_VideoPlayResume(uint32_t connectionId, uint32_t transferHandle) {
    return DispatchPlayControl(connectionId, kCmdPlayResume, transferHandle, kMethodPlayControl, 2);
}

KERROW_API int KERROW_CALL Kerrow_VideoPlayJump(uint32_t connectionId, uint32_t transferHandle,
                                                uint32_t position) {
    return DispatchPlayControl(connectionId, kCmdPlayJump, transferHandle, kMethodPlayControl, 4, 0,
                               static_cast<uint16_t>(position & 0xFFFF));
}

KERROW_API int KERROW_CALL Kerrow_GetVideoPlayPos(uint32_t connectionId, uint32_t transferHandle,
                                                  uint32_t* position) {
    return DispatchPlayControl(connectionId, kCmdGetPlayPos, transferHandle, kMethodPlayControl, 5,
                               0, 0, position);
}

KERROW_API int KERROW_CALL Kerrow_StartVideoUpLoad(uint32_t connectionId,
                                                   const UploadFileInfo* info,
                                                   uint32_t* transferHandle) {
    return Dispatch(connectionId, kCmdStartUpload, const_cast<UploadFileInfo*>(info), nullptr,
                    transferHandle);
}

// Unlike the other stops, the handle comes by address and that address is
// passed on as it is: a null one is refused by the registry.
KERROW_API int KERROW_CALL Kerrow_StopVideoUpLoad(uint32_t connectionId, uint32_t* transferHandle) {
    return Dispatch(connectionId, kCmdStopUpload, transferHandle, nullptr, transferHandle);
}

KERROW_API int KERROW_CALL Kerrow_GetVideoUpLoadPos(uint32_t connectionId, uint32_t transferHandle,
                                                    uint32_t* position) {
    return Dispatch(connectionId, kCmdGetUploadPos, &transferHandle, position, &transferHandle);
}

KERROW_API int KERROW_CALL Kerrow_StartVideoDownLoad_F(uint32_t connectionId, const char* fileName,
                                                       const char* localPath,
                                                       uint32_t* transferHandle) {
    if (!Initialised()) return kResultNotInitialised;
    if (fileName == nullptr) return kResultBadArgument;
    MediaRequest request = MediaRequestByFile(fileName);
    return Dispatch(connectionId, kCmdStartDownloadByFile, &request, const_cast<char*>(localPath),
                    transferHandle);
}

KERROW_API int KERROW_CALL Kerrow_StartVideoDownLoad_T(uint32_t connectionId, uint16_t recordType,
                                                       TransferTime start, TransferTime end,
                                                       const char* localPath,
                                                       uint32_t* transferHandle) {
    if (!Initialised()) return kResultNotInitialised;
    MediaRequest request = MediaRequestByTime(recordType, start, end);
    return Dispatch(connectionId, kCmdStartDownloadByTime, &request, const_cast<char*>(localPath),
                    transferHandle);
}

KERROW_API int KERROW_CALL Kerrow_StopVideoDownLoad(uint32_t connectionId,
                                                    uint32_t transferHandle) {
    return Dispatch(connectionId, kCmdStopDownload, &transferHandle, nullptr, &transferHandle);
}

KERROW_API int KERROW_CALL Kerrow_GetVideoDownLoadPos(uint32_t connectionId,
                                                      uint32_t transferHandle, uint32_t* position) {
    return Dispatch(connectionId, kCmdGetDownloadPos, &transferHandle, position, &transferHandle);
}
