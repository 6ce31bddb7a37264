#include "probe/decode/HexText.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string_view>

namespace Kyr::Probe {

namespace {

// What repeated rows may make of a short text.
constexpr std::size_t kMostBytes = std::size_t{64} << 20U;
constexpr std::size_t kHalfRow = 8;  // behind so many bytes some dumps have a gap
constexpr char kHexDigits[] = "0123456789abcdefABCDEF";
constexpr char kBlanks[] = " \t";

/// What a line of a dump has in front of its bytes.
struct Offset {
    std::uint64_t value = 0;
    std::size_t end = 0;  // behind it
    bool hasGap = false;  // whether the row may have one in its middle
};

std::size_t CountDigits(std::string_view text) {
    return std::min(text.find_first_not_of(kHexDigits), text.size());
}

std::optional<std::uint64_t> Number(std::string_view digits, int base) {
    std::uint64_t value = 0;
    const char* const end = digits.data() + digits.size();
    const auto [stop, error] = std::from_chars(digits.data(), end, value, base);
    return error == std::errc() && stop == end ? std::optional(value) : std::nullopt;
}

std::string Printable(char character) {
    return character > ' ' && character <= '~' ? std::string(1, character)
                                               : "a byte that cannot be shown";
}

class CHexReader {
  public:
    std::string Read(const std::string& text) {
        std::istringstream lines(text);
        for (std::string line; std::getline(lines, line);) {
            ++number_;
            line.erase(line.find_last_not_of(" \t\r") + 1);
            ReadLine(line);
        }
        return bytes_;
    }

  private:
    [[noreturn]] void Refuse(const std::string& why) const {
        throw std::runtime_error("line " + std::to_string(number_) + ": " + why);
    }

    void ReadLine(std::string_view line) {
        if (line == "*" && !row_.empty()) {
            isRepeated_ = true;
            return;
        }
        const std::optional<Offset> offset = OffsetOf(line);
        if (!offset) {
            ReadBytes(line, {});
            return;
        }
        GoTo(offset->value);
        ReadBytes(line.substr(offset->end), *offset);
    }

    std::optional<Offset> OffsetOf(std::string_view line) {
        const std::size_t digits = CountDigits(line);
        const std::string_view behind = line.substr(digits);
        const bool isAlone = behind.empty() && base_;  // the last line: how many there were
        const bool hasColon = behind.substr(0, 1) == ":";
        const bool hasBlanks = behind.substr(0, 2) == "  ";
        if (!isAlone && !(digits >= 4 && (hasColon || hasBlanks))) {
            return OffsetBeforeOneBlank(line, digits);
        }
        const std::optional<std::uint64_t> value =
            Number(line.substr(0, digits), isAlone && isOctal_ ? 8 : 16);
        if (!value) {
            Refuse("no offset: " + std::string(line.substr(0, digits)));
        }
        return Offset{*value, digits + (hasColon ? 1 : 0), hasBlanks};
    }

    /// Six hexadecimal digits, or seven octal ones. What looks so, and is not as many bytes as
    /// there were, is bytes itself.
    std::optional<Offset> OffsetBeforeOneBlank(std::string_view line, std::size_t digits) {
        if ((digits != 6 && digits != 7) || digits == line.size()) {
            return std::nullopt;
        }
        const bool isOctal = digits == 7;
        const std::optional<std::uint64_t> value = Number(line.substr(0, digits), isOctal ? 8 : 16);
        if (!value || (!isRepeated_ && *value != bytes_.size())) {
            return std::nullopt;
        }
        if (CountDigits(line.substr(digits + 1)) != 2) {
            if (isOctal) {
                Refuse(
                    "a dump of words, in the byte order of its machine: write bytes, as xxd, "
                    "hexdump -C and od -t x1 do");
            }
            return std::nullopt;
        }
        isOctal_ = isOctal;
        return Offset{*value, digits, false};
    }

    /// The next row begins there.
    void GoTo(std::uint64_t offset) {
        if (!base_) {
            base_ = offset - bytes_.size();
        }
        const std::uint64_t wanted = offset - *base_;
        if (isRepeated_) {
            Repeat(wanted);
        }
        if (wanted != bytes_.size()) {
            Refuse("its offset is byte " + std::to_string(wanted) + ", but " +
                   std::to_string(bytes_.size()) + " came before it");
        }
    }

    void Repeat(std::uint64_t wanted) {
        if (wanted > kMostBytes) {
            Refuse("more than 64 MiB are repeated");
        }
        while (bytes_.size() < wanted) {
            bytes_ += row_;
        }
        isRepeated_ = false;
    }

    /// Where the row's bytes end, and text may begin.
    static bool IsEnd(std::string_view rest, std::size_t count, bool hasGap) {
        if (rest.substr(0, 2) != "  ") {
            return false;
        }
        const bool isGap = hasGap && count == kHalfRow && CountDigits(rest.substr(2)) == 2;
        return !isGap;
    }

    void ReadBytes(std::string_view line, const std::optional<Offset>& offset) {
        line.remove_prefix(std::min(line.find_first_not_of(kBlanks), line.size()));
        row_.clear();
        while (!line.empty() && !(offset && IsEnd(line, row_.size(), offset->hasGap))) {
            if (line[0] == ' ' || line[0] == '\t' ||
                (line[0] == '-' && offset && row_.size() == kHalfRow)) {
                line.remove_prefix(1);
                continue;
            }
            const std::size_t digits = CountDigits(line);
            if (digits == 0) {
                Refuse("no hexadecimal digit: " + Printable(line[0]));
            }
            if (digits == 1) {
                Refuse("half a byte");
            }
            row_.push_back(static_cast<char>(*Number(line.substr(0, 2), 16)));
            line.remove_prefix(2);
        }
        bytes_ += row_;
    }

    std::string bytes_;
    std::string row_;                    // the last one
    std::optional<std::uint64_t> base_;  // the offset of the first byte, once a line had one
    bool isOctal_ = false;
    bool isRepeated_ = false;
    std::size_t number_ = 0;  // of the line
};

}  // namespace

std::string FromHexText(const std::string& text) {
    return CHexReader().Read(text);
}

}  // namespace Kyr::Probe
