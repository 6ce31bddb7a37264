#include "tests/support/system/ScriptedArea.h"

namespace Kyr::Test {

namespace {

using Guard = std::lock_guard<std::mutex>;

constexpr std::uint32_t kFileMapRead = 4;

}  // namespace

struct CScriptedArea::Functions {
    static NtApi::Handle KYR_NTAPI OpenMutexW(std::uint32_t access, NtApi::Bool inherit,
                                              const char16_t* name) {
        return current_->Open("OpenMutexW", "mutex", access, inherit, name);
    }
    static NtApi::Bool KYR_NTAPI ReleaseMutex(NtApi::Handle mutex) {
        current_->calls_.Note("ReleaseMutex");
        current_->objects_.Check(mutex);
        const Guard guard(current_->mutex_);
        ++current_->releasedMutexes;
        return 1;
    }
    static NtApi::Handle KYR_NTAPI OpenFileMappingW(std::uint32_t access, NtApi::Bool inherit,
                                                    const char16_t* name) {
        return current_->Open("OpenFileMappingW", "mapping", access, inherit, name);
    }
    static void* KYR_NTAPI MapViewOfFile(NtApi::Handle mapping, std::uint32_t access,
                                         std::uint32_t offsetHigh, std::uint32_t offsetLow,
                                         std::size_t size) {
        current_->objects_.Check(mapping);
        const bool wholeForReading =
            access == kFileMapRead && offsetHigh == 0 && offsetLow == 0 && size == 0;
        if (!current_->calls_.Require(wholeForReading, "MapViewOfFile of a part, or for writing") ||
            !current_->calls_.Enter("MapViewOfFile")) {
            return nullptr;
        }
        current_->objects_.Add(current_->bytes.data(), "mapped area");
        return current_->bytes.data();
    }
    static NtApi::Bool KYR_NTAPI UnmapViewOfFile(const void* view) {
        current_->calls_.Note("UnmapViewOfFile");
        return current_->objects_.Close(const_cast<void*>(view)) ? 1 : 0;
    }
    static std::size_t KYR_NTAPI VirtualQuery(const void*, NtApi::MemoryBasicInformation* pages,
                                              std::size_t size) {
        if (!current_->calls_.Require(size == sizeof(*pages), "VirtualQuery with another size")) {
            return 0;
        }
        pages->RegionSize = current_->bytes.size();  // also in a call that says it has failed
        return current_->calls_.Enter("VirtualQuery") ? sizeof(*pages) : 0;
    }
};

CScriptedArea::CScriptedArea(CScriptedCalls& calls, CScriptedObjects& objects,
                             Connectors::Common::Kelcomm::Native::NativeFunctions& functions)
    : calls_(calls), objects_(objects) {
    functions.OpenMutexW = &Functions::OpenMutexW;
    functions.ReleaseMutex = &Functions::ReleaseMutex;
    functions.OpenFileMappingW = &Functions::OpenFileMappingW;
    functions.MapViewOfFile = &Functions::MapViewOfFile;
    functions.UnmapViewOfFile = &Functions::UnmapViewOfFile;
    functions.VirtualQuery = &Functions::VirtualQuery;
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
