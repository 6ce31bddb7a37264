// Named sections and the views of them.
#include <map>
#include <mutex>
#include <set>
#include <sys/mman.h>

#include "ntapi/Status.h"
#include "portlayer/ClassicFunctions.h"
#include "portlayer/ServerFunctions.h"
#include "portlayer/core/Handles.h"
#include "portlayer/core/LiveCounterCells.h"
#include "portlayer/linux/MapFile.h"
#include "portlayer/linux/NamedFile.h"
#include "portlayer/packets/SharedMemory.h"

namespace Kyr::PortLayer {

namespace {

using namespace Detail;

// Values of the classic API.
constexpr std::uint32_t kFileMapWrite = 2;
constexpr std::uint32_t kFileMapRead = 4;
constexpr std::uint32_t kPageReadWrite = 4;

class CNamedSection final : public CObject {
  public:
    CNamedSection(std::shared_ptr<CNamedFile> theFile, bool isWritable)
        : file(std::move(theFile)), writable(isWritable) {}

    const CLiveCount live{LiveCounter::kSections};
    const std::shared_ptr<CNamedFile> file;
    const bool writable;
};

/// A view keeps the object alive after the section's handle is closed.
struct MappedView {
    CLiveCount live{LiveCounter::kMappedViews};
    std::shared_ptr<CNamedFile> file;
    CMapping mapping;
    int protection = PROT_NONE;
};

struct Views {
    std::mutex mutex;
    std::map<const void*, MappedView> byBase;  // guarded by mutex, as the files of mapped sections
};

// Made by the first call and never destroyed: views may stand at exit.
Views& TheViews() {
    static Views* const views = new Views;
    return *views;
}

}  // namespace

void Detail::RenewViews() {
    Views& views = TheViews();
    const std::lock_guard<std::mutex> lock(views.mutex);
    std::set<const CNamedFile*> renewed;  // several views may be of one
    for (auto& [base, view] : views.byBase) {
        if (view.file->Renew()) {
            renewed.insert(view.file.get());
        }
        if (renewed.count(view.file.get()) != 0) {
            RemapFile(view.file->Descriptor(), view.protection, view.mapping);
        }
    }
}

Handle KYR_NTAPI CreateFileMappingW(Handle file, void*, std::uint32_t protection,
                                    std::uint32_t sizeHigh, std::uint32_t sizeLow,
                                    const char16_t* name) {
    if (file != reinterpret_cast<Handle>(~std::uintptr_t{0}) || protection != kPageReadWrite ||
        sizeHigh != 0 || sizeLow == 0) {
        return nullptr;
    }
    auto shared = std::make_shared<CNamedFile>();
    // A section that is there keeps its size; the system refuses views beyond it, this layer the
    // section.
    if (shared->OpenOrCreate(NameOf(name), "section", sizeLow, nullptr) != NtApi::kStatusSuccess ||
        shared->Size() < sizeLow) {
        return nullptr;
    }
    return AddHandle(std::make_shared<CNamedSection>(std::move(shared), true));
}

Handle KYR_NTAPI OpenFileMappingW(std::uint32_t access, Bool, const char16_t* name) {
    auto shared = std::make_shared<CNamedFile>();
    if ((access & (kFileMapRead | kFileMapWrite)) == 0 ||
        shared->Open(NameOf(name), "section") != NtApi::kStatusSuccess) {
        return nullptr;
    }
    const bool writable = (access & kFileMapWrite) != 0;
    return AddHandle(std::make_shared<CNamedSection>(std::move(shared), writable));
}

void* KYR_NTAPI MapViewOfFile(Handle handle, std::uint32_t access, std::uint32_t offsetHigh,
                              std::uint32_t offsetLow, std::size_t size) {
    const auto section = Find<CNamedSection>(handle);
    const bool writes = (access & kFileMapWrite) != 0;
    if (!section || offsetHigh != 0 || offsetLow != 0 || (writes && !section->writable) ||
        (access & (kFileMapRead | kFileMapWrite)) == 0) {
        return nullptr;
    }
    Views& views = TheViews();
    const std::lock_guard<std::mutex> lock(views.mutex);
    const std::size_t whole = section->file->Size();
    const std::size_t wanted = size == 0 ? whole : size;
    MappedView view;
    view.file = section->file;
    view.protection = writes ? PROT_READ | PROT_WRITE : PROT_READ;
    if (wanted == 0 || wanted > whole ||
        !MapFile(section->file->Descriptor(), wanted, view.protection, view.mapping)) {
        return nullptr;
    }
    void* const base = view.mapping.Base();
    views.byBase[base] = std::move(view);
    return base;
}

Bool KYR_NTAPI UnmapViewOfFile(const void* base) {
    Views& views = TheViews();
    // Outlives the lock: the view may be the last holder of its file, which is then removed.
    decltype(views.byBase)::node_type ended;
    const std::lock_guard<std::mutex> lock(views.mutex);
    ended = views.byBase.extract(base);
    return ended.empty() ? 0 : 1;
}

std::size_t KYR_NTAPI VirtualQuery(const void* address, NtApi::MemoryBasicInformation* information,
                                   std::size_t informationSize) {
    Views& views = TheViews();
    const std::lock_guard<std::mutex> lock(views.mutex);
    const auto found = views.byBase.find(address);
    if (found == views.byBase.end() || informationSize < sizeof(*information)) {
        return 0;
    }
    *information = {};
    information->BaseAddress = found->second.mapping.Base();
    information->AllocationBase = information->BaseAddress;
    information->RegionSize = found->second.mapping.Size();
    return sizeof(*information);
}

}  // namespace Kyr::PortLayer
