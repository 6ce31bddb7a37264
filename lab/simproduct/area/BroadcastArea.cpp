#include "lab/simproduct/area/BroadcastArea.h"

#include <algorithm>
#include <stdexcept>
#include <vector>

#include <boost/thread/thread.hpp>

namespace Kyr::Lab::SimProduct {

namespace {

// The names that clients look for (protocol): server id first.
constexpr char16_t kMutexName[] = u"Global\\KELCOMM61564B51To31564B51BroadcastMutex";
constexpr char16_t kSectionName[] = u"Global\\KELCOMM61564B51To31564B51Broadcast";

/// A reader keeps the mutex for the time of one copy: our own choice.
constexpr std::uint32_t kPatienceMs = 10000;

}  // namespace

/// The mutex, for as long as something is written.
class CBroadcastArea::CTurn {
  public:
    explicit CTurn(const CBroadcastArea& area) : area_(area) { area_.Take(); }
    ~CTurn() { area_.memory_.Give(); }
    CTurn(const CTurn&) = delete;
    CTurn& operator=(const CTurn&) = delete;

  private:
    const CBroadcastArea& area_;
};

CBroadcastArea::~CBroadcastArea() {
    Close();
}

void CBroadcastArea::Open(const Bytes& image) {
    if (IsOpen()) {
        return;
    }
    try {
        const std::size_t size = std::max(CAreaImage::kSize, image.size());
        memory_.Open(kMutexName, kSectionName, static_cast<std::uint32_t>(size),
                     "the broadcast area");
        const CTurn turn(*this);
        image_.emplace(memory_.Bytes());
        if (image.empty()) {
            image_->WriteHealthy();
        } else {
            image_->WriteImage(image);
        }
    } catch (const std::exception&) {
        Close();
        throw;
    }
}

void CBroadcastArea::Close() {
    if (held_) {
        Release();
    }
    image_.reset();
    memory_.Close();
}

const CAreaImage& CBroadcastArea::Image() const {
    if (!image_) {
        throw std::runtime_error("the broadcast area is closed");
    }
    return *image_;
}

void CBroadcastArea::Take() const {
    if (!memory_.Take(kPatienceMs)) {
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

void CBroadcastArea::MovePlugIn(std::uint32_t position) {
    Image();
    const CTurn turn(*this);
    image_->MovePlugIn(position);
}

void CBroadcastArea::Restore() {
    Image();
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

void CBroadcastArea::Hold() {
    Image();
    if (!held_) {
        Take();
        held_ = true;
    }
}

void CBroadcastArea::Release() {
    if (held_) {
        memory_.Give();
        held_ = false;
    }
}

void CBroadcastArea::Abandon() {
    Image();
    Release();
    bool taken = false;
    boost::thread([&] { taken = memory_.Take(kPatienceMs); }).join();
    if (!taken) {
        throw std::runtime_error("cannot have the mutex of the broadcast area");
    }
}

}  // namespace Kyr::Lab::SimProduct
