// The version block of this library, built in: the module file's own version
// resource (VS_VERSIONINFO with its fixed file information), whose numbers
// come from the build.
#include "platform/Version.h"

#include <cctype>
#include <cstddef>
#include <cstring>

#if !defined(KERROW_VERSION_MAJOR) || !defined(KERROW_VERSION_MINOR) || \
    !defined(KERROW_VERSION_PATCH)
#error "the build defines KERROW_VERSION_MAJOR, KERROW_VERSION_MINOR and KERROW_VERSION_PATCH"
#endif

namespace kerrow::platform {
namespace {

constexpr char kModuleName[] = "KerrowSDK.dll";
constexpr uint32_t kFixedFileInfoSignature = 0xFEEF04BDu;

// VS_VERSIONINFO without children: header, L"VS_VERSION_INFO", padding to a
// 32-bit boundary, then the fixed file information.
struct VersionBlock {
    uint16_t wLength;
    uint16_t wValueLength;
    uint16_t wType;
    char16_t szKey[16];
    uint16_t padding;
    FixedFileInfo value;
};
static_assert(offsetof(VersionBlock, value) == 40, "fixed file information at offset 40");
static_assert(sizeof(VersionBlock) == 92, "version block is 92 bytes");

constexpr uint32_t kVersionMS = (KERROW_VERSION_MAJOR << 16) | KERROW_VERSION_MINOR;
constexpr uint32_t kVersionLS = KERROW_VERSION_PATCH << 16;

const VersionBlock kBlock = {
    sizeof(VersionBlock),
    sizeof(FixedFileInfo),
    0,  // binary value
    u"VS_VERSION_INFO",
    0,
    {
        kFixedFileInfoSignature,
        0x00010000,  // structure version 1.0
        kVersionMS,
        kVersionLS,
        kVersionMS,
        kVersionLS,
        0x3F,        // VS_FFI_FILEFLAGSMASK
        0,           // a release build
        0x00040004,  // VOS_NT_WINDOWS32
        2,           // VFT_DLL
        0,
        0,
        0,
    },
};

// The module is named by its file name, with or without a directory, in any
// case (file names are not case-sensitive where the library comes from).
bool NamesThisModule(const char* fileName) {
    if (fileName == nullptr) return false;
    const char* base = fileName;
    for (const char* p = fileName; *p != '\0'; ++p) {
        if (*p == '\\' || *p == '/') base = p + 1;
    }
    if (std::strlen(base) != sizeof(kModuleName) - 1) return false;
    for (size_t i = 0; base[i] != '\0'; ++i) {
        if (std::tolower(static_cast<unsigned char>(base[i])) !=
            std::tolower(static_cast<unsigned char>(kModuleName[i]))) {
            return false;
        }
    }
    return true;
}

}  // namespace

uint32_t GetFileVersionInfoSize(const char* fileName) {
    return NamesThisModule(fileName) ? sizeof(VersionBlock) : 0;
}

bool GetFileVersionInfo(const char* fileName, uint32_t size, void* data) {
    // A buffer smaller than the block would leave a block that claims more
    // than it holds; it is refused rather than cut.
    if (!NamesThisModule(fileName) || data == nullptr || size < sizeof(VersionBlock)) {
        return false;
    }
    std::memcpy(data, &kBlock, sizeof(VersionBlock));
    return true;
}

bool VerQueryValue(const void* block, const char* subBlock, void** value, uint32_t* length) {
    if (block == nullptr || subBlock == nullptr || value == nullptr) return false;
    if (std::strcmp(subBlock, "\\") != 0) return false;  // only the root block is kept
    const auto* version = static_cast<const VersionBlock*>(block);
    if (version->wLength < sizeof(VersionBlock) ||
        version->value.dwSignature != kFixedFileInfoSignature) {
        return false;
    }
    *value = const_cast<FixedFileInfo*>(&version->value);
    if (length != nullptr) *length = sizeof(FixedFileInfo);
    return true;
}

}  // namespace kerrow::platform
