#include "lab/simproduct/area/BroadcastArea.h"

#include <algorithm>
#include <stdexcept>

#include <boost/thread/thread.hpp>

namespace Kyr::Lab::SimProduct {

namespace {

// The names that clients look for (protocol): server id first.
constexpr char16_t kMutexName[] = u"Global\\KELCOMM61564B51To31564B51BroadcastMutex";
constexpr char16_t kSectionName[] = u"Global\\KELCOMM61564B51To31564B51Broadcast";

/// A reader keeps the mutex for the time of one copy: our own choice.
constexpr std::uint32_t kPatienceMs = 10000;

}  // namespace

void CBroadcastArea::Open(const Bytes& image) {
    const std::size_t size = std::max(CAreaImage::kSize, image.size());
    memory_.Open(kMutexName, kSectionName, static_cast<std::uint32_t>(size), "the broadcast area");
    image_.emplace(memory_.Bytes());
    Change([&](CAreaImage& fresh) {
        if (image.empty()) {
            fresh.WriteHealthy();
        } else {
            fresh.WriteImage(image);
        }
    });
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

void CBroadcastArea::Change(const std::function<void(CAreaImage&)>& change) {
    Image();
    Take();
    try {
        change(*image_);
    } catch (...) {
        memory_.Give();
        throw;
    }
    memory_.Give();
}

void CBroadcastArea::SetValue(std::uint32_t index, std::uint32_t value) {
    Change([&](CAreaImage& image) { image.SetValue(index, value); });
}

void CBroadcastArea::Restore() {
    Change([](CAreaImage& image) {
        std::uint32_t values[CAreaImage::kValues];
        for (std::uint32_t index = 0; index < CAreaImage::kValues; ++index) {
            values[index] = image.Value(index);
        }
        image.WriteHealthy();
        for (std::uint32_t index = 0; index < CAreaImage::kValues; ++index) {
            image.SetValue(index, values[index]);
        }
    });
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
