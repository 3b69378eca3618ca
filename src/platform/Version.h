// Version information of a module file (GetFileVersionInfoSizeA,
// GetFileVersionInfoA, VerQueryValueA).
#pragma once

#include <cstdint>

namespace kerrow::platform {

// VS_FIXEDFILEINFO.
struct FixedFileInfo {
    uint32_t dwSignature;
    uint32_t dwStrucVersion;
    uint32_t dwFileVersionMS;
    uint32_t dwFileVersionLS;
    uint32_t dwProductVersionMS;
    uint32_t dwProductVersionLS;
    uint32_t dwFileFlagsMask;
    uint32_t dwFileFlags;
    uint32_t dwFileOS;
    uint32_t dwFileType;
    uint32_t dwFileSubtype;
    uint32_t dwFileDateMS;
    uint32_t dwFileDateLS;
};

// Size of the version block of the named module ("KerrowSDK.dll" names this
// library), 0 when it has none.
uint32_t GetFileVersionInfoSize(const char* fileName);
// Copies the block into data (size bytes); false on failure.
bool GetFileVersionInfo(const char* fileName, uint32_t size, void* data);
// Looks a value up in a block; "\\" is the root block, a FixedFileInfo.
bool VerQueryValue(const void* block, const char* subBlock, void** value, uint32_t* length);

}  // namespace kerrow::platform
