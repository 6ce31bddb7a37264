#define WIN32_LEAN_AND_MEAN
#define NOMINMAX
#include "tests/module/PeFile.h"

#include <cstring>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <windows.h>

namespace Kyr::Test {

CPeFile::CPeFile(const std::string& path) : path_(path) {
    std::ifstream file(path, std::ios::binary);
    bytes_.assign(std::istreambuf_iterator<char>(file), {});
    const auto old = Read<IMAGE_DOS_HEADER>(0);
    headers_ = static_cast<std::size_t>(old.e_lfanew);
    const auto headers = Read<IMAGE_NT_HEADERS32>(headers_);
    if (old.e_magic != IMAGE_DOS_SIGNATURE || headers.Signature != IMAGE_NT_SIGNATURE ||
        headers.OptionalHeader.Magic != IMAGE_NT_OPTIONAL_HDR32_MAGIC) {
        throw std::runtime_error(path + " is not a 32-bit PE file");
    }
}

std::uint16_t CPeFile::Machine() const {
    return Read<IMAGE_NT_HEADERS32>(headers_).FileHeader.Machine;
}

bool CPeFile::IsLibrary() const {
    return (Read<IMAGE_NT_HEADERS32>(headers_).FileHeader.Characteristics & IMAGE_FILE_DLL) != 0;
}

bool CPeFile::HasRelocations() const {
    const auto headers = Read<IMAGE_NT_HEADERS32>(headers_);
    const auto& table = headers.OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_BASERELOC];
    return table.Size != 0 &&
           (headers.FileHeader.Characteristics & IMAGE_FILE_RELOCS_STRIPPED) == 0;
}

std::uint16_t CPeFile::LoaderFlags() const {
    return Read<IMAGE_NT_HEADERS32>(headers_).OptionalHeader.DllCharacteristics;
}

std::vector<std::string> CPeFile::ExportedNames() const {
    std::vector<std::string> names;
    const auto headers = Read<IMAGE_NT_HEADERS32>(headers_);
    const auto& table = headers.OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_EXPORT];
    if (table.Size == 0) {
        return names;
    }
    const auto exports = Read<IMAGE_EXPORT_DIRECTORY>(Offset(table.VirtualAddress));
    if (exports.NumberOfFunctions != exports.NumberOfNames) {
        throw std::runtime_error(path_ + " exports functions without a name");
    }
    for (DWORD index = 0; index < exports.NumberOfNames; ++index) {
        const std::size_t at = Offset(exports.AddressOfNames) + index * sizeof(std::uint32_t);
        names.push_back(Text(Read<std::uint32_t>(at)));
    }
    return names;  // the format keeps them sorted
}

std::vector<ImportedFunction> CPeFile::Imports() const {
    std::vector<ImportedFunction> imports;
    const auto headers = Read<IMAGE_NT_HEADERS32>(headers_);
    const auto& table = headers.OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
    std::size_t at = Offset(table.VirtualAddress);
    for (auto library = Read<IMAGE_IMPORT_DESCRIPTOR>(at); library.Name != 0;
         library = Read<IMAGE_IMPORT_DESCRIPTOR>(at += sizeof library)) {
        std::size_t thunkAt = Offset(library.OriginalFirstThunk);
        for (auto thunk = Read<std::uint32_t>(thunkAt); thunk != 0;
             thunk = Read<std::uint32_t>(thunkAt += sizeof thunk)) {
            const bool byNumber = (thunk & IMAGE_ORDINAL_FLAG32) != 0;
            // A name stands behind a two-byte hint.
            imports.push_back({Text(library.Name), byNumber ? std::string() : Text(thunk + 2)});
        }
    }
    return imports;
}

template <typename Record>
Record CPeFile::Read(std::size_t offset) const {
    if (offset + sizeof(Record) > bytes_.size()) {
        throw std::runtime_error(path_ + " has a record outside of the file");
    }
    Record record;
    std::memcpy(&record, bytes_.data() + offset, sizeof record);
    return record;
}

std::string CPeFile::Text(std::uint32_t address) const {
    return bytes_.c_str() + Offset(address);
}

/// Where in the file that stands which is loaded at `address`, counted from the library's base.
std::size_t CPeFile::Offset(std::uint32_t address) const {
    const auto headers = Read<IMAGE_NT_HEADERS32>(headers_);
    for (std::size_t index = 0; index < headers.FileHeader.NumberOfSections; ++index) {
        const auto section = Read<IMAGE_SECTION_HEADER>(headers_ + sizeof headers +
                                                        index * sizeof(IMAGE_SECTION_HEADER));
        const std::uint32_t into = address - section.VirtualAddress;
        if (address >= section.VirtualAddress && into < section.SizeOfRawData) {
            return section.PointerToRawData + into;
        }
    }
    throw std::runtime_error(path_ + " points to what is in none of its sections");
}

}  // namespace Kyr::Test
