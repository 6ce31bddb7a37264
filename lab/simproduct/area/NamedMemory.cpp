#include "lab/simproduct/area/NamedMemory.h"

#include <cstring>
#include <stdexcept>

#include "portlayer/Diagnostics.h"
#include "portlayer/ServerFunctions.h"

namespace Kyr::Lab::SimProduct {

namespace {

// Values of the system's interface.
constexpr std::uint32_t kPageReadWrite = 4;
constexpr std::uint32_t kFileMapWrite = 2;
constexpr std::uint32_t kFileMapRead = 4;
constexpr std::uint32_t kOwned = 0;
constexpr std::uint32_t kAbandoned = 0x80;

}  // namespace

void CNamedMemory::Open(const char16_t* mutexName, const char16_t* sectionName, std::uint32_t size,
                        const std::string& what) {
    mutex_ = PortLayer::CreateMutexW(nullptr, 0, mutexName);
    if (mutex_ == nullptr) {
        throw std::runtime_error("cannot create the mutex of " + what + ": " +
                                 PortLayer::LastFailure());
    }
    const auto noFile = reinterpret_cast<NtApi::Handle>(~std::uintptr_t{0});
    section_ = PortLayer::CreateFileMappingW(noFile, nullptr, kPageReadWrite, 0, size, sectionName);
    if (section_ != nullptr) {
        view_ = PortLayer::MapViewOfFile(section_, kFileMapRead | kFileMapWrite, 0, 0, size);
    }
    if (view_ == nullptr) {
        const std::string reason = PortLayer::LastFailure();
        Close();
        throw std::runtime_error("cannot create the section of " + what + ": " + reason);
    }
}

void CNamedMemory::Close() {
    if (view_ != nullptr) {
        PortLayer::UnmapViewOfFile(view_);
        view_ = nullptr;
    }
    for (NtApi::Handle* const handle : {&section_, &mutex_}) {
        if (*handle != nullptr) {
            PortLayer::CloseHandle(*handle);
            *handle = nullptr;
        }
    }
}

bool CNamedMemory::Take(std::uint32_t milliseconds) const {
    const std::uint32_t result = mutex_ == nullptr
                                     ? ~std::uint32_t{0}
                                     : PortLayer::WaitForSingleObject(mutex_, milliseconds);
    return result == kOwned || result == kAbandoned;
}

void CNamedMemory::Give() const {
    PortLayer::ReleaseMutex(mutex_);
}

COnlyProduct::COnlyProduct(std::uint64_t pid) {
    claim_.Open(u"Global\\SimulatedProductMutex", u"Global\\SimulatedProduct", sizeof pid,
                "the only product");
    if (!claim_.Take(0)) {
        std::memcpy(&pid, claim_.Bytes(), sizeof pid);
        throw std::runtime_error("another product serves in " + PortLayer::PlaceOfNames() +
                                 ": process " + std::to_string(pid));
    }
    std::memcpy(claim_.Bytes(), &pid, sizeof pid);
}

}  // namespace Kyr::Lab::SimProduct
