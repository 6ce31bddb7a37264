#include "tests/support/ScriptedArea.h"

namespace Kyr::Test {

namespace {

using Guard = std::lock_guard<std::mutex>;

constexpr std::uint32_t kFileMapRead = 4;

CScriptedArea* current = nullptr;

}  // namespace

struct CScriptedArea::Functions {
    static NtApi::Handle KYR_NTAPI OpenMutexW(std::uint32_t access, NtApi::Bool inherit,
                                              const char16_t* name) {
        return current->Open("OpenMutexW", "mutex", access, inherit, name);
    }
    static NtApi::Bool KYR_NTAPI ReleaseMutex(NtApi::Handle mutex) {
        current->calls_.Note("ReleaseMutex");
        current->objects_.Check(mutex);
        const Guard guard(current->mutex_);
        ++current->releasedMutexes;
        return 1;
    }
    static NtApi::Handle KYR_NTAPI OpenFileMappingW(std::uint32_t access, NtApi::Bool inherit,
                                                    const char16_t* name) {
        return current->Open("OpenFileMappingW", "mapping", access, inherit, name);
    }
    static void* KYR_NTAPI MapViewOfFile(NtApi::Handle mapping, std::uint32_t access,
                                         std::uint32_t offsetHigh, std::uint32_t offsetLow,
                                         std::size_t size) {
        current->objects_.Check(mapping);
        const bool wholeForReading =
            access == kFileMapRead && offsetHigh == 0 && offsetLow == 0 && size == 0;
        if (!current->calls_.Require(wholeForReading, "MapViewOfFile of a part, or for writing") ||
            !current->calls_.Enter("MapViewOfFile")) {
            return nullptr;
        }
        current->objects_.Add(current->bytes.data(), "mapped area");
        return current->bytes.data();
    }
    static NtApi::Bool KYR_NTAPI UnmapViewOfFile(const void* view) {
        current->calls_.Note("UnmapViewOfFile");
        return current->objects_.Close(const_cast<void*>(view)) ? 1 : 0;
    }
    static std::size_t KYR_NTAPI VirtualQuery(const void*, NtApi::MemoryBasicInformation* pages,
                                              std::size_t size) {
        if (!current->calls_.Require(size == sizeof(*pages), "VirtualQuery with another size") ||
            !current->calls_.Enter("VirtualQuery")) {
            return 0;
        }
        pages->RegionSize = current->bytes.size();
        return sizeof(*pages);
    }
};

CScriptedArea::CScriptedArea(CScriptedCalls& calls, CScriptedObjects& objects,
                             Connectors::Common::Kelcomm::Native::NativeFunctions& functions)
    : calls_(calls), objects_(objects) {
    current = this;
    functions.OpenMutexW = &Functions::OpenMutexW;
    functions.ReleaseMutex = &Functions::ReleaseMutex;
    functions.OpenFileMappingW = &Functions::OpenFileMappingW;
    functions.MapViewOfFile = &Functions::MapViewOfFile;
    functions.UnmapViewOfFile = &Functions::UnmapViewOfFile;
    functions.VirtualQuery = &Functions::VirtualQuery;
}

CScriptedArea::~CScriptedArea() {
    current = nullptr;
}

NtApi::Handle CScriptedArea::Open(const char* function, const char* kind, std::uint32_t access,
                                  NtApi::Bool inherit, const char16_t* name) {
    calls_.Require(inherit == 0, "a named object whose handle children inherit");
    {
        const Guard guard(mutex_);
        openedNames.push_back(name);
        openedAccess.push_back(access);
    }
    return calls_.Enter(function) ? objects_.Open(kind) : nullptr;
}

std::uint32_t CScriptedArea::WaitForMutex(NtApi::Handle mutex, std::uint32_t milliseconds) {
    objects_.Check(mutex);
    if (const std::function<void()> action = onMutexWait) {
        action();
    }
    const Guard guard(mutex_);
    mutexTimeouts.push_back(milliseconds);
    return mutexWait;
}

}  // namespace Kyr::Test
