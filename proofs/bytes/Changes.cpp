#include "proofs/bytes/Changes.h"

#include <algorithm>
#include <iterator>

namespace Kyr::Proofs::Bytes {

namespace {

constexpr std::size_t kNumbers = 40;

// Around nothing, around the sizes of headers, and around the ends of the types of numbers.
constexpr std::uint64_t kEverywhere[] = {
    0,   1,      2,      3,      4,       5,          7,          8,          11,
    12,  13,     15,     16,     31,      32,         127,        128,        255,
    256, 0x7FFF, 0x8000, 0xFFFF, 0x10000, 0x7FFFFFFF, 0x80000000, 0xFFFFFFF4, 0xFFFFFFFF};
// Around the sample's own length, less these.
constexpr std::int64_t kLess[] = {13, 12, 11, 8, 4, 1, 0, -1};
// Of the limits of port messages; of numbers that wrap; of numbers of eight bytes.
constexpr std::uint64_t kOf16[] = {24, 0xFFC7, 0xFFCF, 0xFFEF, 0xFFFC};
constexpr std::uint64_t kOf32[] = {24, 0xFFFFFFE0, 0xFFFFFFF3, 0xFFFFFFFC, 0x7FFFFFF0};
constexpr std::uint64_t kOf64[] = {0x100000000, 0x4000001, 0x7FFFFFFFFFFFFFFF, 0x8000000000000000,
                                   0xFFFFFFFFFFFFFFFF};
static_assert(std::size(kEverywhere) + std::size(kLess) + std::size(kOf16) == kNumbers &&
              std::size(kOf16) == std::size(kOf32) && std::size(kOf16) == std::size(kOf64));

void PutLittleEndian(Input& bytes, std::size_t place, std::uint64_t number, std::size_t width) {
    for (std::size_t i = 0; i < width; ++i) {
        bytes[place + i] = static_cast<std::uint8_t>(number >> (8 * i));
    }
}

/// The number in protobuf's form.
Input Varint(std::uint64_t number) {
    Input bytes;
    for (; number >= 0x80; number >>= 7) {
        bytes.push_back(static_cast<std::uint8_t>(number | 0x80));
    }
    bytes.push_back(static_cast<std::uint8_t>(number));
    return bytes;
}

/// The end of the protobuf number that begins at `place`, as far as there is one.
std::size_t VarintEnd(const Input& bytes, std::size_t place) {
    while (place + 1 < bytes.size() && (bytes[place] & 0x80) != 0) {
        ++place;
    }
    return place + 1;
}

}  // namespace

CChanges::CChanges(const Sample& sample) : sample_(sample) {
    const std::size_t size = sample.bytes.size();
    const auto places = [&sample](std::size_t all) { return std::min(all, sample.reach); };
    series_.push_back({Way::kNone, 1, 1});
    if (!sample.numbersOnly) {
        series_.push_back({Way::kReplace, places(size), 255});
        series_.push_back({Way::kCut, places(size), 1});
        series_.push_back({Way::kLeaveOut, places(size), 1});
        series_.push_back({Way::kPutIn, places(size + 1), 256});
    }
    series_.push_back({Way::kWord16, places(size < 2 ? 0 : size - 1), kNumbers});
    series_.push_back({Way::kWord32, places(size < 4 ? 0 : size - 3), kNumbers});
    series_.push_back({Way::kVarint, places(size), kNumbers});
}

std::size_t CChanges::Count() const {
    std::size_t count = 0;
    for (const Series& series : series_) {
        count += series.places * series.choices;
    }
    return count;
}

CChanges::Change CChanges::At(std::size_t index) const {
    for (const Series& series : series_) {
        const std::size_t count = series.places * series.choices;
        if (index < count) {
            return {series.way, index / series.choices, index % series.choices};
        }
        index -= count;
    }
    return {Way::kNone, 0, 0};
}

std::uint64_t CChanges::Number(Way way, std::size_t choice) const {
    if (choice < std::size(kEverywhere)) {
        return kEverywhere[choice];
    }
    choice -= std::size(kEverywhere);
    if (choice < std::size(kLess)) {
        return sample_.bytes.size() - static_cast<std::uint64_t>(kLess[choice]);
    }
    choice -= std::size(kLess);
    return way == Way::kWord16   ? kOf16[choice]
           : way == Way::kWord32 ? kOf32[choice]
                                 : kOf64[choice];
}

Input CChanges::Make(std::size_t index) const {
    const Change change = At(index);
    const auto place = static_cast<std::ptrdiff_t>(change.place);
    Input bytes = sample_.bytes;
    switch (change.way) {
        case Way::kNone:
            break;
        case Way::kReplace:
            bytes[change.place] =
                static_cast<std::uint8_t>(bytes[change.place] + 1 + change.choice);
            break;
        case Way::kCut:
            bytes.resize(change.place);
            break;
        case Way::kLeaveOut:
            bytes.erase(bytes.begin() + place);
            break;
        case Way::kPutIn:
            bytes.insert(bytes.begin() + place, static_cast<std::uint8_t>(change.choice));
            break;
        case Way::kWord16:
            PutLittleEndian(bytes, change.place, Number(change.way, change.choice), 2);
            break;
        case Way::kWord32:
            PutLittleEndian(bytes, change.place, Number(change.way, change.choice), 4);
            break;
        case Way::kVarint: {
            const Input number = Varint(Number(change.way, change.choice));
            const auto end = static_cast<std::ptrdiff_t>(VarintEnd(bytes, change.place));
            bytes.erase(bytes.begin() + place, bytes.begin() + end);
            bytes.insert(bytes.begin() + place, number.begin(), number.end());
            break;
        }
    }
    return bytes;
}

std::string CChanges::Describe(std::size_t index) const {
    const Change change = At(index);
    const std::string place = std::to_string(change.place);
    const auto number = [&] { return std::to_string(Number(change.way, change.choice)); };
    switch (change.way) {
        case Way::kReplace:
            return "byte " + place + " plus " + std::to_string(1 + change.choice);
        case Way::kCut:
            return "cut to " + place;
        case Way::kLeaveOut:
            return "without byte " + place;
        case Way::kPutIn:
            return "byte " + std::to_string(change.choice) + " put in at " + place;
        case Way::kWord16:
            return "two bytes at " + place + " = " + number();
        case Way::kWord32:
            return "four bytes at " + place + " = " + number();
        case Way::kVarint:
            return "protobuf number at " + place + " = " + number();
        case Way::kNone:
            break;
    }
    return "as it stands";
}

}  // namespace Kyr::Proofs::Bytes
