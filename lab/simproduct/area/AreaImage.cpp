#include "lab/simproduct/area/AreaImage.h"

#include <algorithm>
#include <iterator>

#include <boost/atomic/atomic_ref.hpp>

namespace Kyr::Lab::SimProduct {

namespace {

constexpr std::uint32_t kData = 64;
constexpr std::uint32_t kDataLength = 1024;

constexpr std::uint32_t kTable = 80;  // in the data, as the following
constexpr std::uint32_t kEntryLength = 20;
constexpr std::uint32_t kUserData = 200;
constexpr std::uint32_t kUserDataLength = 8;

/// A word that other threads, and readers in other processes, may meet at any time.
boost::atomic_ref<std::uint32_t> Word(std::uint8_t* at) {
    return boost::atomic_ref<std::uint32_t>(*reinterpret_cast<std::uint32_t*>(at));
}

constexpr std::uint32_t kModuleIds[] = {0x1001000, 0x1004000, 0x1002000};

constexpr std::size_t kValuePlaces[] = {24, 28, 32, 36, 40, 52, 56, 60, 64, 68};

/// Of the fields by their order; behind them come the words of the server plug-in's entry.
constexpr std::size_t kPlaces[] = {0, 8, 16, 24, 28, kData + 12, kData + 20};

constexpr std::size_t EntryAt(std::uint32_t entry) {
    return kData + kTable + std::size_t{kEntryLength} * entry;
}

}  // namespace

void CAreaImage::WriteHealthy() {
    // Readers may still know what a product before this one left here.
    for (std::uint32_t entry = 0; entry < kModules; ++entry) {
        lastTimestamp_ = std::max(lastTimestamp_, ReadWord(EntryAt(entry) + 12));
    }
    for (std::size_t offset = 0; offset < kSize; offset += 4) {
        WriteWord(offset, 0);
    }
    position_ = 1;
    for (std::uint32_t entry = 0; entry < kModules; ++entry) {
        WriteWord(EntryAt(entry), kModuleIds[entry]);
        WriteWord(EntryAt(entry) + 4, kUserDataLength);
        WriteWord(EntryAt(entry) + 8, kUserData + kUserDataLength * entry);
        Touch(entry);
    }
    Write(AreaField::kFirstModule, kTable);
    Write(AreaField::kModuleCount, kModules);
    Write(AreaField::kDataOffset, kData);
    Write(AreaField::kDataSize, kDataLength);
    Write(AreaField::kVersion, 2);
    Write(AreaField::kMagic, 0x436C654B);  // "KelC"
    WriteWord(12, 0x206D6D6F);             // "omm "
    Write(AreaField::kHeaderSize, 32);     // last: an area without it is not opened
}

void CAreaImage::WriteImage(const Bytes& image) {
    // The size of the header last, as above.
    for (std::size_t offset = image.size() / 4 * 4; offset >= 4;) {
        offset -= 4;
        WriteWord(offset, ReadU32(image, offset));
    }
}

std::uint32_t CAreaImage::Value(std::uint32_t index) const {
    return ReadWord(index < std::size(kValuePlaces) ? kData + kValuePlaces[index] : UserData() + 4);
}

void CAreaImage::SetValue(std::uint32_t index, std::uint32_t value) {
    if (index < std::size(kValuePlaces)) {
        WriteWord(kData + kValuePlaces[index], value);
        return;
    }
    WriteWord(UserData() + 4, value);
    Touch(position_);
}

std::uint32_t CAreaImage::Read(AreaField field) const {
    return ReadWord(PlaceOf(field));
}

void CAreaImage::Write(AreaField field, std::uint32_t value) {
    WriteWord(PlaceOf(field), value);
}

void CAreaImage::MovePlugIn(std::uint32_t position) {
    // The value goes with its entry: the user data stay where they are.
    for (const std::size_t word : {0, 4, 8}) {
        const std::uint32_t here = ReadWord(EntryAt(position_) + word);
        WriteWord(EntryAt(position_) + word, ReadWord(EntryAt(position) + word));
        WriteWord(EntryAt(position) + word, here);
    }
    Touch(position_);
    Touch(position);
    position_ = position;
}

std::uint32_t CAreaImage::ReadWord(std::size_t offset) const {
    return Word(bytes_ + offset).load(boost::memory_order_relaxed);
}

void CAreaImage::WriteWord(std::size_t offset, std::uint32_t value) {
    Word(bytes_ + offset).store(value, boost::memory_order_relaxed);
}

std::size_t CAreaImage::PlaceOf(AreaField field) const {
    const auto index = static_cast<std::size_t>(field);
    const std::size_t places = std::size(kPlaces);
    return index < places ? kPlaces[index] : EntryAt(position_) + 4 * (index - places);
}

// By the healthy layout, whatever lie the table tells.
std::size_t CAreaImage::UserData() const {
    return kData + kUserData + kUserDataLength;
}

void CAreaImage::Touch(std::uint32_t entry) {
    WriteWord(EntryAt(entry) + 12, ++lastTimestamp_);
}

}  // namespace Kyr::Lab::SimProduct
