#include "probe/decode/Protobuf.h"

#include <algorithm>

namespace Kyr::Probe {

namespace {

enum WireType : std::uint32_t { kVarint, kFixed64, kLengthDelimited, kGroup, kGroupEnd, kFixed32 };

constexpr std::size_t kMostVarintBytes = 10;

/// Nothing when there is none, which has been noted.
std::optional<std::uint64_t> TakeVarint(CFieldReader& reader, const std::string& name) {
    const std::string_view rest = reader.Rest();
    std::uint64_t number = 0;
    for (std::size_t i = 0; i < std::min(rest.size(), kMostVarintBytes); ++i) {
        const auto byte = static_cast<unsigned char>(rest[i]);
        number |= std::uint64_t{byte & 0x7Fu} << (7 * i);
        if (byte < 0x80) {
            reader.Take(name, i + 1);
            return number;
        }
    }
    if (rest.size() < kMostVarintBytes) {
        reader.Take(name, rest.size() + 1);  // notes that it ends early
    } else {
        reader.Bytes(name, kMostVarintBytes);
        reader.Blame("a number of more than ten bytes");
    }
    return std::nullopt;
}

class CMessage {
  public:
    CMessage(CFieldReader& reader, const std::vector<ProtobufName>& names)
        : reader_(reader), names_(names) {}

    void Decode() {
        while (reader_.IsGood() && reader_.Remaining() != 0 && DecodeField()) {
        }
    }

  private:
    /// False: nobody can tell where the next one begins.
    bool DecodeField() {
        offset_ = reader_.At();
        const auto tag = TakeVarint(reader_, "tag");
        if (!tag) {
            return false;
        }
        const auto number = static_cast<std::uint32_t>(*tag) >> 3;
        const auto type = static_cast<std::uint32_t>(*tag & 7);
        const auto found = std::find_if(names_.begin(), names_.end(),
                                        [&](const auto& one) { return one.number == number; });
        known_ = found == names_.end() ? nullptr : &*found;
        name_ = known_ != nullptr ? known_->name : "field " + std::to_string(number);
        switch (type) {
            case kVarint:
                return DecodeNumber();
            case kFixed64:
                return DecodeFixed(8);
            case kFixed32:
                return DecodeFixed(4);
            case kLengthDelimited:
                return DecodeContents();
            default:
                reader_.Note(offset_, reader_.At() - offset_, name_, "",
                             type == kGroup || type == kGroupEnd
                                 ? "a group, which the product does not write"
                                 : "a kind of value that does not exist");
                return false;
        }
    }

    bool DecodeNumber() {
        const auto number = TakeVarint(reader_, name_);
        if (number) {
            Note(NumberText(*number), known_ == nullptr || known_->kind == ProtobufKind::kNumber);
        }
        return number.has_value();
    }

    bool DecodeFixed(std::size_t length) {
        const auto bytes = reader_.Take(name_, length);
        if (bytes) {
            Note(BytesText(*bytes), known_ == nullptr);
        }
        return bytes.has_value();
    }

    bool DecodeContents() {
        const auto length = TakeVarint(reader_, name_);
        const auto bytes = length ? reader_.Take(name_, *length) : std::nullopt;
        if (bytes) {
            const bool isText = known_ != nullptr && known_->kind == ProtobufKind::kText;
            Note(isText ? QuotedText(*bytes) : BytesText(*bytes),
                 known_ == nullptr || known_->kind != ProtobufKind::kNumber);
        }
        return bytes.has_value();
    }

    void Note(const std::string& value, bool isOfItsKind) {
        reader_.Note(offset_, reader_.At() - offset_, name_, value,
                     isOfItsKind ? "" : "not of the kind that it must be: not read");
    }

    CFieldReader& reader_;
    const std::vector<ProtobufName>& names_;
    std::size_t offset_ = 0;  // of the field
    const ProtobufName* known_ = nullptr;
    std::string name_;
};

}  // namespace

void DecodeProtobuf(CFieldReader& reader, const std::vector<ProtobufName>& names) {
    CMessage(reader, names).Decode();
}

}  // namespace Kyr::Probe
