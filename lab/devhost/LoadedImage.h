// A 32-bit Windows library as it stands loaded in memory: where it keeps the address of a function
// that it imports.
//
// For PortPatchWindows.cpp. It reads memory that somebody else laid out, so every record is looked
// for inside the image before it is read; nothing of the system is used, so that it is tested and
// fuzzed everywhere.
//
// Threads: any; nothing changes. Ownership: the memory must outlive the object.
// Errors: std::runtime_error when the image contradicts itself or is not a 32-bit one.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace Kyr::Lab::DevHost {

class CLoadedImage {
  public:
    /// `size`: how much memory there is from `base` on, whatever the image says of itself.
    CLoadedImage(const void* base, std::size_t size);

    /// The place, counted from the base, of the word that holds the address of `function` of
    /// `library` (whose name is compared without regard to case); nothing when the image does not
    /// import it by name.
    std::optional<std::size_t> FindImport(std::string_view library,
                                          std::string_view function) const;

  private:
    std::optional<std::size_t> FindInLibrary(std::size_t names, std::size_t addresses,
                                             std::string_view function) const;
    std::uint16_t Read16(std::size_t at) const;
    std::uint32_t Read32(std::size_t at) const;
    std::string_view Bytes(std::size_t at, std::size_t count) const;
    /// The text that begins at `at` and ends with a zero byte.
    std::string_view Text(std::size_t at) const;

    const std::string_view memory_;  // borrowed
    std::size_t imports_ = 0;        // the place of the import table; 0: there is none
};

}  // namespace Kyr::Lab::DevHost
