// A growable byte buffer for Kelcomm payloads, with its allocator in its virtual table.
//
// Bytes are appended at the end and may be consumed from the front; consumed room is reclaimed when
// the buffer would otherwise have to grow.
// Errors: allocation failure and overflow are reported by null, kNoOffset or false, and leave the
// held bytes as they were; nothing throws.
// Threads: a buffer belongs to one thread at a time.
// The order of the virtual operations is part of the contract.
#pragma once

#include <cstdint>

namespace Kyr::Connectors::Common::Kelcomm {

class CBuffer {
  public:
    /// What Append returns when the bytes could not be stored.
    static constexpr std::uint32_t kNoOffset = 0xFFFFFFFF;

    CBuffer() = default;
    CBuffer(const CBuffer&) = delete;
    CBuffer& operator=(const CBuffer&) = delete;
    /// Frees the block with this class's Free: a derived class with an allocator of its own frees
    /// the block in its own destructor and sets `base_` to null.
    virtual ~CBuffer();

    /// Returns a place where `length` more bytes can be written, or null. A length of 0 returns the
    /// data pointer and changes nothing.
    std::uint8_t* Reserve(std::uint32_t length);

    /// Returns the offset at which the bytes were stored, or kNoOffset. A length of 0 returns the
    /// current size and changes nothing. REQUIRES: `bytes` is outside this buffer.
    std::uint32_t Append(const void* bytes, std::uint32_t length);

    /// Appends a u32 tag, a u32 length and the bytes; all or nothing.
    bool AppendRecord(std::uint32_t tag, const void* bytes, std::uint32_t length);

    /// Appends as if byte by byte, the capacity growing to one and a half times its old value each
    /// time it is used up, to at most 0x7FFFFFFF. All or nothing; false on failure.
    bool AppendGrowing(const void* bytes, std::uint32_t length);

    /// Moves the data pointer past the first `length` bytes: for whoever reads a buffer piece by
    /// piece, which nobody in the library does. REQUIRES: `length` is at most GetSize().
    void Consume(std::uint32_t length);

    const std::uint8_t* GetData() const { return data_; }
    std::uint32_t GetSize() const { return size_; }
    std::uint32_t GetCapacity() const { return capacity_; }

  protected:
    virtual void* Reallocate(void* block, std::uint32_t size);
    virtual void* Allocate(std::uint32_t size);
    virtual void Free(void* block);

    std::uint8_t* base_ = nullptr;
    std::uint8_t* data_ = nullptr;  // the first held byte, at or past the base
    std::uint32_t capacity_ = 0;    // bytes from the base
    std::uint32_t size_ = 0;        // bytes held, from the data pointer

  private:
    std::uint32_t DataOffset() const { return static_cast<std::uint32_t>(data_ - base_); }
    void Compact();
    bool GrowByHalf();
};

}  // namespace Kyr::Connectors::Common::Kelcomm
