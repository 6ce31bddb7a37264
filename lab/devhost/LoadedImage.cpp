#include "lab/devhost/LoadedImage.h"

#include <algorithm>
#include <stdexcept>

namespace Kyr::Lab::DevHost {

namespace {

// The format of 32-bit programs and libraries; places are counted from the record before.
constexpr std::uint16_t kDosMagic = 0x5A4D;       // "MZ"
constexpr std::size_t kNewHeaders = 60;           // in the old header: where the others stand
constexpr std::uint32_t kSignature = 0x00004550;  // "PE", two zeros
constexpr std::size_t kOptionalHeaderSize = 20;   // from the signature
constexpr std::size_t kOptionalHeader = 24;
constexpr std::uint16_t k32BitMagic = 0x10B;
constexpr std::size_t kDirectoryCount = 92;    // from the optional header
constexpr std::size_t kImportDirectory = 104;  // the second directory
constexpr std::size_t kDirectorySize = 8;

// One library that functions are taken from. The table ends with one whose name is nowhere.
constexpr std::size_t kDescriptorSize = 20;
constexpr std::size_t kDescriptorNames = 0;
constexpr std::size_t kDescriptorLibrary = 12;
constexpr std::size_t kDescriptorAddresses = 16;

constexpr std::size_t kWord = 4;
constexpr std::uint32_t kByNumber = 0x80000000;
constexpr std::size_t kHint = 2;  // stands before a function's name

char Lower(char letter) {
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

bool SameName(std::string_view one, std::string_view other) {
    return std::equal(one.begin(), one.end(), other.begin(), other.end(),
                      [](char a, char b) { return Lower(a) == Lower(b); });
}

}  // namespace

CLoadedImage::CLoadedImage(const void* base, std::size_t size)
    : memory_(static_cast<const char*>(base), size) {
    if (Read16(0) != kDosMagic) {
        throw std::runtime_error("no library stands there");
    }
    const std::size_t headers = Read32(kNewHeaders);
    if (Read32(headers) != kSignature || Read16(headers + kOptionalHeader) != k32BitMagic) {
        throw std::runtime_error("not a 32-bit library");
    }
    const std::size_t optional = headers + kOptionalHeader;
    if (Read16(headers + kOptionalHeaderSize) >= kImportDirectory + kDirectorySize &&
        Read32(optional + kDirectoryCount) >= 2) {
        imports_ = Read32(optional + kImportDirectory);
    }
}

std::optional<std::size_t> CLoadedImage::FindImport(std::string_view library,
                                                    std::string_view function) const {
    if (imports_ == 0) {
        return std::nullopt;
    }
    // Ends at the latest with the memory, where reading throws.
    for (std::size_t at = imports_;; at += kDescriptorSize) {
        const std::uint32_t name = Read32(at + kDescriptorLibrary);
        if (name == 0) {
            return std::nullopt;
        }
        const std::uint32_t names = Read32(at + kDescriptorNames);
        if (names == 0 || !SameName(Text(name), library)) {
            continue;
        }
        if (const auto found = FindInLibrary(names, Read32(at + kDescriptorAddresses), function)) {
            return found;
        }
    }
}

std::optional<std::size_t> CLoadedImage::FindInLibrary(std::size_t names, std::size_t addresses,
                                                       std::string_view function) const {
    for (std::size_t index = 0;; ++index) {
        const std::uint32_t name = Read32(names + index * kWord);
        if (name == 0) {
            return std::nullopt;
        }
        if ((name & kByNumber) == 0 && Text(name + kHint) == function) {
            const std::size_t at = addresses + index * kWord;
            Bytes(at, kWord);
            return at;
        }
    }
}

std::uint16_t CLoadedImage::Read16(std::size_t at) const {
    const std::string_view bytes = Bytes(at, 2);
    return static_cast<std::uint16_t>(static_cast<unsigned char>(bytes[0]) |
                                      static_cast<unsigned char>(bytes[1]) << 8);
}

std::uint32_t CLoadedImage::Read32(std::size_t at) const {
    const std::string_view bytes = Bytes(at, kWord);
    std::uint32_t value = 0;
    for (std::size_t index = kWord; index-- > 0;) {
        value = value << 8 | static_cast<unsigned char>(bytes[index]);
    }
    return value;
}

std::string_view CLoadedImage::Bytes(std::size_t at, std::size_t count) const {
    if (at > memory_.size() || memory_.size() - at < count) {
        throw std::runtime_error("the library points outside of its memory");
    }
    return memory_.substr(at, count);
}

std::string_view CLoadedImage::Text(std::size_t at) const {
    const std::size_t end = memory_.find('\0', at);
    if (end == std::string_view::npos) {
        throw std::runtime_error("the library points outside of its memory");
    }
    return memory_.substr(at, end - at);
}

}  // namespace Kyr::Lab::DevHost
