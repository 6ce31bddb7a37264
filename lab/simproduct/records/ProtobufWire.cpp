#include "lab/simproduct/records/ProtobufWire.h"

namespace Kyr::Lab::SimProduct {

namespace {

// Wire types; the two that are not here (groups) are given up by the format.
constexpr std::uint32_t kVariable = 0;
constexpr std::uint32_t kEightBytes = 1;
constexpr std::uint32_t kCounted = 2;
constexpr std::uint32_t kFourBytes = 5;

class CCursor {
  public:
    explicit CCursor(const Bytes& bytes) : bytes_(bytes) {}

    bool AtEnd() const { return position_ == bytes_.size(); }

    std::uint64_t TakeVariable() {
        std::uint64_t value = 0;
        for (int shift = 0; shift < 64; shift += 7) {
            Require(1);
            const std::uint8_t byte = bytes_[position_++];
            value |= std::uint64_t{byte & 0x7Fu} << shift;
            if (byte < 0x80) {
                return value;
            }
        }
        throw CMalformed("an integer of more than ten bytes");
    }

    void Skip(std::uint64_t count) {
        Require(count);
        position_ += static_cast<std::size_t>(count);
    }

  private:
    void Require(std::uint64_t count) const {
        if (count > bytes_.size() - position_) {
            throw CMalformed("a protobuf message that ends too early");
        }
    }

    const Bytes& bytes_;
    std::size_t position_ = 0;
};

void SkipValue(CCursor& cursor, std::uint64_t wireType) {
    switch (wireType) {
        case kVariable:
            cursor.TakeVariable();
            return;
        case kEightBytes:
            return cursor.Skip(8);
        case kCounted:
            return cursor.Skip(cursor.TakeVariable());
        case kFourBytes:
            return cursor.Skip(4);
        default:
            throw CMalformed("an unknown wire type");
    }
}

}  // namespace

CWireWriter& CWireWriter::AddInteger(std::uint32_t field, std::uint64_t value) {
    Append(std::uint64_t{field} << 3 | kVariable);
    Append(value);
    return *this;
}

CWireWriter& CWireWriter::AddBytes(std::uint32_t field, std::string_view value) {
    Append(std::uint64_t{field} << 3 | kCounted);
    Append(value.size());
    // As bytes: a copy from one type to the other goes character by character.
    const auto* const first = reinterpret_cast<const std::uint8_t*>(value.data());
    bytes_.insert(bytes_.end(), first, first + value.size());
    return *this;
}

void CWireWriter::Append(std::uint64_t value) {
    while (value >= 0x80) {
        bytes_.push_back(static_cast<std::uint8_t>(value | 0x80));
        value >>= 7;
    }
    bytes_.push_back(static_cast<std::uint8_t>(value));
}

std::optional<std::uint64_t> ReadInteger(const Bytes& message, std::uint32_t field) {
    CCursor cursor(message);
    std::optional<std::uint64_t> found;
    while (!cursor.AtEnd()) {
        const std::uint64_t tag = cursor.TakeVariable();
        if (tag == (std::uint64_t{field} << 3 | kVariable)) {
            found = cursor.TakeVariable();
        } else {
            SkipValue(cursor, tag & 7);
        }
    }
    return found;
}

}  // namespace Kyr::Lab::SimProduct
