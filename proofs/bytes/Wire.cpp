#include "proofs/bytes/Wire.h"

#include <utility>

namespace Kyr::Proofs::Bytes {

namespace {

constexpr std::size_t kHeader = 12;
constexpr std::uint64_t kLongest = 0x7FFFFFFF;  // of a message, and so of anything in it

Input Number(std::uint64_t number) {
    Input bytes;
    for (; number >= 0x80; number >>= 7) {
        bytes.push_back(static_cast<std::uint8_t>(number | 0x80));
    }
    bytes.push_back(static_cast<std::uint8_t>(number));
    return bytes;
}

class CFieldReader {
  public:
    explicit CFieldReader(const Input& bytes) : bytes_(bytes) {}

    bool IsAtEnd() const { return place_ == bytes_.size(); }
    /// Whether what could not be taken lacked bytes at the end.
    bool EndsEarly() const { return endsEarly_; }

    /// At most so many bytes long.
    bool Take(std::size_t longest, std::uint64_t& number) {
        number = 0;
        for (std::size_t i = 0; i < longest; ++i) {
            if (IsAtEnd()) {
                endsEarly_ = true;
                return false;
            }
            const std::uint8_t byte = bytes_[place_++];
            number |= std::uint64_t{byte & 0x7Fu} << (7 * i);
            if ((byte & 0x80) == 0) {
                return true;
            }
        }
        return false;
    }

    bool Take(std::uint64_t length, Input& text) {
        if (length > bytes_.size() - place_) {
            endsEarly_ = length <= kLongest;
            return false;
        }
        const auto begin = bytes_.begin() + static_cast<std::ptrdiff_t>(place_);
        text.assign(begin, begin + static_cast<std::ptrdiff_t>(length));
        place_ += static_cast<std::size_t>(length);
        return true;
    }

    /// False: there is no sound field.
    bool Take(Fields::Field& field) { return TakeTag(field) && TakeValue(field); }

  private:
    bool TakeTag(Fields::Field& field) {
        std::uint64_t tag = 0;
        // The first byte tells a kind of value that does not exist, whether or not the tag is
        // whole.
        if (!IsAtEnd() && (bytes_[place_] & 7) > 5) {
            return false;
        }
        // What a fifth byte has above the 32 bits of a tag means nothing.
        if (!Take(5, tag) || static_cast<std::uint32_t>(tag) < 8) {
            return false;
        }
        field.number = static_cast<std::uint32_t>(tag) >> 3;
        field.type = static_cast<std::uint32_t>(tag & 7);
        return true;
    }

    bool TakeValue(Fields::Field& field) {
        std::uint64_t length = 0;
        switch (field.type) {
            case 0:
                return Take(10, field.value);
            case 1:
                return Take(8, field.text);
            case 2:
                return TakeLength(length) && Take(length, field.text);
            case 3:
                return SkipGroup(field.number);
            case 5:
                return Take(4, field.text);
            default:
                return false;
        }
    }

    /// It is at most five bytes long; of one that is cut nobody can say whether it was.
    bool TakeLength(std::uint64_t& length) {
        const std::size_t begin = place_;
        return Take(10, length) && place_ - begin <= 5;
    }

    /// A form of messages from older days, which the product does not write.
    bool SkipGroup(std::uint32_t number) {
        Fields::Field inside{};
        while (TakeTag(inside)) {
            if (inside.type == 4) {
                return inside.number == number;
            }
            if (!TakeValue(inside)) {
                return false;
            }
        }
        return false;
    }

    const Input& bytes_;
    std::size_t place_ = 0;
    bool endsEarly_ = false;
};

}  // namespace

const char kShort[] = "KelcommChannelBuffer: Buffer is not full enough";

Input FromText(const std::string& text) {
    return {text.begin(), text.end()};
}

Input operator+(Input first, const Input& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

Input Half(std::uint16_t number) {
    return {static_cast<std::uint8_t>(number), static_cast<std::uint8_t>(number >> 8)};
}

Input Word(std::uint32_t number) {
    return Half(static_cast<std::uint16_t>(number)) +
           Half(static_cast<std::uint16_t>(number >> 16));
}

std::uint16_t HalfAt(const Input& bytes, std::size_t place) {
    return static_cast<std::uint16_t>(bytes[place] | bytes[place + 1] << 8);
}

std::uint32_t WordAt(const Input& bytes, std::size_t place) {
    return HalfAt(bytes, place) | std::uint32_t{HalfAt(bytes, place + 2)} << 16;
}

Input Reply(std::uint32_t status, const Input& body) {
    return Word(12) + Word(status) + Word(static_cast<std::uint32_t>(body.size())) + body;
}

std::optional<Input> BodyOf(const Input& reply) {
    if (reply.size() < kHeader || WordAt(reply, 8) > reply.size() - kHeader) {
        return std::nullopt;
    }
    const auto begin = reply.begin() + kHeader;
    return Input(begin, begin + WordAt(reply, 8));
}

Input TextField(std::uint32_t field, const Input& text) {
    return Number(field * 8 + 2) + Number(text.size()) + text;
}

Input FixedField(std::uint32_t field, std::uint32_t type, const Input& bytes) {
    return Number(std::uint64_t{field} << 3 | type) + bytes;
}

Input NumberField(std::uint32_t field, std::uint64_t number) {
    return Number(field * 8) + Number(number);
}

Fields ReadFields(const Input& message) {
    Fields read{{}, true};
    CFieldReader reader(message);
    while (read.sound && !reader.IsAtEnd()) {
        Fields::Field field{};
        read.sound = reader.Take(field);
        if (read.sound) {
            read.fields.push_back(std::move(field));
        }
    }
    read.endsEarly = reader.EndsEarly();
    return read;
}

bool IsUtf8(const Input& text) {
    // The least number of each length; what could be written shorter is none.
    constexpr std::uint32_t kLeast[] = {0, 0x80, 0x800, 0x10000};
    for (std::size_t i = 0; i < text.size();) {
        const std::uint8_t first = text[i++];
        const std::size_t more = first < 0x80   ? 0
                                 : first < 0xC0 ? 4
                                 : first < 0xE0 ? 1
                                 : first < 0xF0 ? 2
                                 : first < 0xF8 ? 3
                                                : 4;
        if (more > 3 || more > text.size() - i) {
            return false;
        }
        std::uint32_t number = more == 0 ? first : first & (0x3Fu >> more);
        for (std::size_t k = 0; k < more; ++k, ++i) {
            if ((text[i] & 0xC0) != 0x80) {
                return false;
            }
            number = number << 6 | (text[i] & 0x3Fu);
        }
        if (number < kLeast[more] || number > 0x10FFFF || (number >= 0xD800 && number < 0xE000)) {
            return false;
        }
    }
    return true;
}

}  // namespace Kyr::Proofs::Bytes
