// The bytes of a broadcast area as the product lays them out.
//
//     offset      what
//     0           header of 32 bytes: its size, 0, "KelComm ", version 2, 0, data offset 64, data
//                 size 1024
//     64          data: first module offset (at 12), module count (at 20), the values 0 to 9
//     64 + 80     module table, three entries of 20 bytes: id, user data size, user data offset,
//                 timestamp, 0; the second is the server plug-in
//     64 + 200    user data of the entries, 8 bytes each: a word of the product's own, the value
//
// Every word is written whole, as a reader of shared memory that takes no lock needs it.
// Threads: one writer at a time. Ownership: the memory is borrowed. Errors: none but REQUIRES.
#pragma once

#include <cstddef>
#include <cstdint>

#include "lab/simproduct/requests/Bytes.h"

namespace Kyr::Lab::SimProduct {

/// Words that a lie is told in, in the order of their places in the area.
enum class AreaField {
    kHeaderSize,
    kMagic,  // the first four of its bytes
    kVersion,
    kDataOffset,
    kDataSize,
    kFirstModule,
    kModuleCount,
    kModuleId,  // of the server plug-in's entry, as the following
    kUserSize,
    kUserOffset,
    kTimestamp,
};

class CAreaImage {
  public:
    static constexpr std::size_t kSize = 4096;
    static constexpr std::uint32_t kModules = 3;
    /// The last value is the server plug-in's.
    static constexpr std::uint32_t kValues = 11;

    /// `bytes`: kSize of them, aligned for words.
    explicit CAreaImage(std::uint8_t* bytes) : bytes_(bytes) {}

    /// Writes everything anew; the values are 0, and the server plug-in is the second module.
    void WriteHealthy();

    /// Writes the bytes of an area as they are, whole words of them; what stands behind them stays.
    /// REQUIRES: the memory has room for them.
    void WriteImage(const Bytes& image);

    std::uint32_t Value(std::uint32_t index) const;
    /// A new value of the server plug-in comes with a new timestamp. REQUIRES: index < kValues.
    void SetValue(std::uint32_t index, std::uint32_t value);

    std::uint32_t Read(AreaField field) const;
    void Write(AreaField field, std::uint32_t value);
    /// Exchanges the server plug-in's entry with that one; both get a new timestamp. REQUIRES:
    /// position < kModules.
    void MovePlugIn(std::uint32_t position);

  private:
    /// Where the field stands now, from the start of the area.
    std::size_t PlaceOf(AreaField field) const;
    std::uint32_t ReadWord(std::size_t offset) const;
    void WriteWord(std::size_t offset, std::uint32_t value);
    std::size_t UserData() const;
    void Touch(std::uint32_t entry);

    std::uint8_t* const bytes_;   // borrowed
    std::uint32_t position_ = 1;  // of the server plug-in in the table
    std::uint32_t lastTimestamp_ = 0;
};

}  // namespace Kyr::Lab::SimProduct
