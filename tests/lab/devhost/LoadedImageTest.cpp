#include <gtest/gtest.h>
#include <stdexcept>
#include <string>

#include "lab/devhost/LoadedImage.h"

namespace Kyr::Test {
namespace {

using Lab::DevHost::CLoadedImage;

/// A library of the smallest kind. Its one import table names KERNEL32.dll, of which it takes
/// function number 5 and, second, GetProcAddress.
class LoadedImageTest : public ::testing::Test {
  protected:
    LoadedImageTest() {
        Put(0x000, "MZ");
        Put32(0x03C, 0x40);  // where the other headers stand
        Put(0x040, std::string("PE\0\0", 4));
        Put32(0x054, 0x00E0);      // size of the optional header
        Put32(0x058, 0x010B);      // 32 bits
        Put32(0x0B4, 16);          // directories
        Put32(0x0C0, 0x0D0);       // the second of them: imports
        Put32(0x0D0, 0x100);       // names
        Put32(0x0DC, 0x120);       // the library's name
        Put32(0x0E0, 0x110);       // addresses
        Put32(0x100, 0x80000005);  // number 5
        Put32(0x104, 0x130);
        Put(0x120, "KERNEL32.dll");
        Put(0x132, "GetProcAddress");  // behind a hint of two bytes
    }

    void Put(std::size_t at, const std::string& bytes) { memory_.replace(at, bytes.size(), bytes); }
    void Put32(std::size_t at, std::uint32_t value) {
        for (int shift = 0; shift < 32; shift += 8) {
            memory_[at++] = static_cast<char>(value >> shift);
        }
    }
    std::optional<std::size_t> Find(const char* library, const char* function) const {
        return CLoadedImage(memory_.data(), memory_.size()).FindImport(library, function);
    }
    void ExpectContradiction() const {
        EXPECT_THROW(Find("KERNEL32.dll", "GetProcAddress"), std::runtime_error);
    }

    std::string memory_ = std::string(0x144, '\0');
};

TEST_F(LoadedImageTest, AddressOfAnImportStandsAtTheSamePlaceAsItsName) {
    EXPECT_EQ(Find("KERNEL32.dll", "GetProcAddress"), 0x114U);
}

TEST_F(LoadedImageTest, LibraryIsFoundInWhateverCase) {
    EXPECT_EQ(Find("kernel32.DLL", "GetProcAddress"), 0x114U);
}

TEST_F(LoadedImageTest, WhatIsNotImportedIsNotFound) {
    EXPECT_EQ(Find("KERNEL32.dll", "GetProcAddressX"), std::nullopt);
    EXPECT_EQ(Find("KERNEL32.dll", "getprocaddress"), std::nullopt);
    EXPECT_EQ(Find("KERNEL32", "GetProcAddress"), std::nullopt);
}

TEST_F(LoadedImageTest, SecondTableOfTheSameLibraryIsSearchedToo) {
    Put32(0x0E4, 0x104);  // begins with what the first one has second
    Put32(0x0F0, 0x120);
    Put32(0x0F4, 0x118);
    Put32(0x0D0, 0x108);  // and the first one is empty
    EXPECT_EQ(Find("KERNEL32.dll", "GetProcAddress"), 0x118U);
}

TEST_F(LoadedImageTest, LibraryWithoutImportsImportsNothing) {
    Put32(0x0C0, 0);
    EXPECT_EQ(Find("KERNEL32.dll", "GetProcAddress"), std::nullopt);
}

TEST_F(LoadedImageTest, OptionalHeaderTooShortForImportsImportsNothing) {
    Put32(0x054, 0x006F);
    EXPECT_EQ(Find("KERNEL32.dll", "GetProcAddress"), std::nullopt);
}

TEST_F(LoadedImageTest, TableWhoseNamesWereThrownAwayIsPassedOver) {
    Put32(0x0D0, 0);
    EXPECT_EQ(Find("KERNEL32.dll", "GetProcAddress"), std::nullopt);
}

TEST_F(LoadedImageTest, OtherFilesAndWidthsAreRefused) {
    Put32(0x058, 0x020B);  // 64 bits
    ExpectContradiction();
    Put(0x040, "NE");
    ExpectContradiction();
    Put(0x000, "ZM");
    ExpectContradiction();
}

TEST_F(LoadedImageTest, HeadersOutsideOfTheMemoryAreRefused) {
    Put32(0x03C, 0xFFFFFFF0);
    ExpectContradiction();
    memory_.resize(0x20);
    ExpectContradiction();
    memory_.clear();
    ExpectContradiction();
}

TEST_F(LoadedImageTest, TablesOutsideOfTheMemoryAreRefused) {
    Put32(0x0E0, 0x13D);  // the address would end behind the memory
    ExpectContradiction();
    Put32(0x0D0, 0xFFFFFFFC);
    ExpectContradiction();
    Put32(0x0DC, 0x144);
    ExpectContradiction();
    Put32(0x0C0, 0x143);
    ExpectContradiction();
}

TEST_F(LoadedImageTest, TablesWithoutAnEndAreRefused) {
    memory_.resize(0x158);  // room for one library, and for nothing that says it was the last
    Put32(0x0C0, 0x144);
    Put32(0x144, 0x108);
    Put32(0x150, 0x120);
    Put32(0x154, 0x110);
    ExpectContradiction();
}

TEST_F(LoadedImageTest, NameWithoutAnEndIsRefused) {
    memory_.resize(0x140);  // ends with "GetProcAddress"
    ExpectContradiction();
}

}  // namespace
}  // namespace Kyr::Test
