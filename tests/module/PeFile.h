// A built Windows library or program, read as a file: what it offers, what it needs, how it asks to
// be loaded.
//
// Errors: std::runtime_error when the file is not a 32-bit one or contradicts itself.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace Kyr::Test {

/// One function that a file takes from another library.
struct ImportedFunction {
    std::string library;  // as written, "KERNEL32.dll"
    std::string name;     // empty when it is imported by number
};

class CPeFile {
  public:
    explicit CPeFile(const std::string& path);

    std::uint16_t Machine() const;
    bool IsLibrary() const;
    bool HasRelocations() const;
    /// The flags of IMAGE_DLLCHARACTERISTICS_….
    std::uint16_t LoaderFlags() const;

    std::vector<std::string> ExportedNames() const;
    std::vector<ImportedFunction> Imports() const;

  private:
    template <typename Record>
    Record Read(std::size_t offset) const;
    std::string Text(std::uint32_t address) const;
    std::size_t Offset(std::uint32_t address) const;

    const std::string path_;
    std::string bytes_;
    std::size_t headers_ = 0;  // the place of the headers that follow the old program's
};

}  // namespace Kyr::Test
