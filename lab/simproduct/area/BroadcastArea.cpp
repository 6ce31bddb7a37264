#include "lab/simproduct/area/BroadcastArea.h"

#include <stdexcept>
#include <vector>

#include "portlayer/ServerFunctions.h"

namespace Kyr::Lab::SimProduct {

namespace {

// The names that clients look for (protocol): server id first.
constexpr char16_t kMutexName[] = u"Global\\KELCOMM61564B51To31564B51BroadcastMutex";
constexpr char16_t kSectionName[] = u"Global\\KELCOMM61564B51To31564B51Broadcast";

// Values of the system's interface.
constexpr std::uint32_t kPageReadWrite = 4;
constexpr std::uint32_t kFileMapWrite = 2;
constexpr std::uint32_t kFileMapRead = 4;
constexpr std::uint32_t kOwned = 0;
constexpr std::uint32_t kAbandoned = 0x80;

/// A reader keeps the mutex for the time of one copy: our own choice.
constexpr std::uint32_t kPatienceMs = 10000;

bool Wait(NtApi::Handle mutex) {
    const std::uint32_t result = PortLayer::WaitForSingleObject(mutex, kPatienceMs);
    return result == kOwned || result == kAbandoned;
}

}  // namespace

/// The mutex, for as long as something is written.
class CBroadcastArea::CTurn {
  public:
    explicit CTurn(const CBroadcastArea& area) : area_(area) { area_.Take(); }
    ~CTurn() { PortLayer::ReleaseMutex(area_.mutex_); }
    CTurn(const CTurn&) = delete;
    CTurn& operator=(const CTurn&) = delete;

  private:
    const CBroadcastArea& area_;
};

CBroadcastArea::~CBroadcastArea() {
    Close();
}

void CBroadcastArea::Open() {
    if (IsOpen()) {
        return;
    }
    try {
        Create();
    } catch (const std::exception&) {
        Close();
        throw;
    }
}

void CBroadcastArea::Create() {
    mutex_ = PortLayer::CreateMutexW(nullptr, 0, kMutexName);
    if (mutex_ == nullptr) {
        throw std::runtime_error("cannot create the mutex of the broadcast area");
    }
    const auto noFile = reinterpret_cast<NtApi::Handle>(~std::uintptr_t{0});
    section_ = PortLayer::CreateFileMappingW(noFile, nullptr, kPageReadWrite, 0, CAreaImage::kSize,
                                             kSectionName);
    if (section_ != nullptr) {
        view_ = PortLayer::MapViewOfFile(section_, kFileMapRead | kFileMapWrite, 0, 0,
                                         CAreaImage::kSize);
    }
    if (view_ == nullptr) {
        throw std::runtime_error("cannot create the section of the broadcast area");
    }
    const CTurn turn(*this);
    image_.emplace(static_cast<std::uint8_t*>(view_));
    image_->WriteHealthy();
}

void CBroadcastArea::Close() {
    StopFlicker();
    if (held_) {
        Release();
    }
    image_.reset();
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

const CAreaImage& CBroadcastArea::Image() const {
    if (!image_) {
        throw std::runtime_error("the broadcast area is closed");
    }
    return *image_;
}

void CBroadcastArea::Take() const {
    if (mutex_ == nullptr || !Wait(mutex_)) {
        throw std::runtime_error("cannot have the mutex of the broadcast area");
    }
}

std::uint32_t CBroadcastArea::Value(std::uint32_t index) const {
    return Image().Value(index);
}

void CBroadcastArea::SetValue(std::uint32_t index, std::uint32_t value) {
    Image();
    const CTurn turn(*this);
    image_->SetValue(index, value);
}

std::uint32_t CBroadcastArea::Read(AreaField field) const {
    return Image().Read(field);
}

void CBroadcastArea::Write(AreaField field, std::uint32_t value) {
    Image();
    const CTurn turn(*this);
    image_->Write(field, value);
}

std::uint32_t CBroadcastArea::PlugInPosition() const {
    return Image().Position();
}

void CBroadcastArea::MovePlugIn(std::uint32_t position) {
    Image();
    const CTurn turn(*this);
    image_->MovePlugIn(position);
}

void CBroadcastArea::Restore() {
    Image();
    StopFlicker();
    const CTurn turn(*this);
    std::vector<std::uint32_t> values;
    for (std::uint32_t index = 0; index < CAreaImage::kValues; ++index) {
        values.push_back(image_->Value(index));
    }
    image_->WriteHealthy();
    for (std::uint32_t index = 0; index < CAreaImage::kValues; ++index) {
        image_->SetValue(index, values[index]);
    }
}

void CBroadcastArea::Flicker(AreaField field, std::uint32_t value) {
    const std::uint32_t before = Image().Read(field);
    StopFlicker();
    flickering_ = true;
    // Without the mutex, which is the point.
    flicker_ = boost::thread([this, place = image_->PlaceOf(field), value, before] {
        while (flickering_) {
            image_->WriteWord(place, value);
            image_->WriteWord(place, before);
        }
    });
}

void CBroadcastArea::StopFlicker() {
    flickering_ = false;
    if (flicker_.joinable()) {
        flicker_.join();
    }
}

void CBroadcastArea::Hold() {
    Image();
    if (!held_) {
        Take();
        held_ = true;
    }
}

void CBroadcastArea::Release() {
    if (held_) {
        PortLayer::ReleaseMutex(mutex_);
        held_ = false;
    }
}

void CBroadcastArea::Abandon() {
    Image();
    Release();
    bool taken = false;
    boost::thread([&] { taken = Wait(mutex_); }).join();
    if (!taken) {
        throw std::runtime_error("cannot have the mutex of the broadcast area");
    }
}

}  // namespace Kyr::Lab::SimProduct
