#include <algorithm>
#include <cstring>
#include <elf.h>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include "tests/module/ExportedNames.h"

namespace Kyr::Test {

namespace {

/// The file's bytes, read as records of the ELF format (64-bit, this machine's byte order).
class CElfFile {
  public:
    explicit CElfFile(const std::string& path) {
        std::ifstream file(path, std::ios::binary);
        bytes_.assign(std::istreambuf_iterator<char>(file), {});
        if (bytes_.compare(0, SELFMAG, ELFMAG) != 0 || bytes_.at(EI_CLASS) != ELFCLASS64) {
            throw std::runtime_error(path + " is not a 64-bit ELF file");
        }
        header_ = Read<Elf64_Ehdr>(0);
    }

    template <typename Record>
    Record Read(std::size_t offset) const {
        if (offset + sizeof(Record) > bytes_.size()) {
            throw std::runtime_error("ELF record outside of the file");
        }
        Record record;
        std::memcpy(&record, bytes_.data() + offset, sizeof record);
        return record;
    }

    std::string ReadText(std::size_t offset) const { return bytes_.c_str() + offset; }

    std::size_t SectionCount() const { return header_.e_shnum; }
    Elf64_Shdr Section(std::size_t index) const {
        return Read<Elf64_Shdr>(header_.e_shoff + index * header_.e_shentsize);
    }

  private:
    std::string bytes_;
    Elf64_Ehdr header_{};
};

void AddDefinedNames(const CElfFile& file, const Elf64_Shdr& symbols,
                     std::vector<std::string>& names) {
    const Elf64_Shdr texts = file.Section(symbols.sh_link);
    for (std::size_t at = 0; at < symbols.sh_size; at += sizeof(Elf64_Sym)) {
        const auto symbol = file.Read<Elf64_Sym>(symbols.sh_offset + at);
        const bool defined = symbol.st_shndx != SHN_UNDEF;
        if (defined && ELF64_ST_BIND(symbol.st_info) != STB_LOCAL) {
            names.push_back(file.ReadText(texts.sh_offset + symbol.st_name));
        }
    }
}

}  // namespace

std::vector<std::string> ExportedNames(const std::string& path) {
    const CElfFile file(path);
    std::vector<std::string> names;
    for (std::size_t index = 0; index < file.SectionCount(); ++index) {
        const Elf64_Shdr section = file.Section(index);
        if (section.sh_type == SHT_DYNSYM) {
            AddDefinedNames(file, section, names);
        }
    }
    std::sort(names.begin(), names.end());
    return names;
}

}  // namespace Kyr::Test
