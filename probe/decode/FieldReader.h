// Takes bytes apart from the front and notes each field in a layout. Every length comes from
// outside: what is not there is noted as missing, and nothing is read behind the end.
//
// Threads: one. Ownership: bytes and layout must outlive the reader. Errors: none; a reader that
// has missed something gives nothing more.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "probe/decode/Layout.h"

namespace Kyr::Probe {

/// The number, in both ways that people write it: "18 (0x12)"; below ten one is enough.
std::string NumberText(std::uint64_t number);

/// As hexadecimal digits, two a byte; of more than 32 bytes the first ones and how many there are.
std::string BytesText(std::string_view bytes);

/// UTF-8 text in quotes, on one line: control characters, quotes and what is no UTF-8 become
/// "\x..". Of more than 200 bytes the first ones and how many there are.
std::string QuotedText(std::string_view text);

/// All of it, without quotes; control characters and what is no UTF-8 become "\x..".
std::string HarmlessText(std::string_view text);

class CFieldReader {
  public:
    CFieldReader(std::string_view bytes, Layout& layout) : bytes_(bytes), layout_(layout) {}

    /// Little-endian numbers, noted as `name`. Nothing when they are not all there.
    std::optional<std::uint16_t> U16(const std::string& name);
    std::optional<std::uint32_t> U32(const std::string& name);
    std::optional<std::uint64_t> U64(const std::string& name);
    /// A number of which only one value is right.
    void Expect32(const std::string& name, std::uint32_t expected);
    /// The next `length` bytes, noted as bytes.
    void Bytes(const std::string& name, std::uint64_t length);
    /// The next `length` bytes, which are not noted: the caller does.
    std::optional<std::string_view> Take(const std::string& name, std::uint64_t length);
    std::string_view Rest() const { return bytes_.substr(at_); }

    std::size_t At() const { return at_; }
    std::size_t Remaining() const { return bytes_.size() - at_; }
    /// False once something was missing.
    bool IsGood() const { return good_; }

    /// Adds to what was noted last.
    void Explain(const std::string& meaning);
    void Blame(const std::string& wrong);
    void Note(std::size_t offset, std::size_t length, const std::string& name,
              const std::string& value, const std::string& wrong = {});
    /// What remains, if anything does, is wrong.
    void ExpectEnd();
    /// Notes what stands behind the next `length` bytes, which nobody reads, and ends before it.
    void EndAfter(std::size_t length);

  private:
    template <typename Integer>
    std::optional<Integer> Number(const std::string& name);

    std::string_view bytes_;
    Layout& layout_;
    std::size_t at_ = 0;
    bool good_ = true;
};

}  // namespace Kyr::Probe
