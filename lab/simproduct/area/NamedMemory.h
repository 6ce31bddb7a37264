// A named section and the named mutex that guards it, for as long as this program shares them.
//
// Threads: one, since a mutex belongs to the thread that took it.
// Ownership: the section ends with its last holder.
// Errors: std::runtime_error when it cannot be made, with the place and the reason.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "ntapi/Types.h"

namespace Kyr::Lab::SimProduct {

class CNamedMemory {
  public:
    CNamedMemory() = default;
    CNamedMemory(const CNamedMemory&) = delete;
    CNamedMemory& operator=(const CNamedMemory&) = delete;
    ~CNamedMemory() { Close(); }

    /// Opens both or makes them; `what` they are is for people. REQUIRES: they are closed.
    void Open(const char16_t* mutexName, const char16_t* sectionName, std::uint32_t size,
              const std::string& what);
    void Close();

    std::uint8_t* Bytes() const { return static_cast<std::uint8_t*>(view_); }
    /// Takes the mutex, also one whose owner died. False without it, or when it was not to be had
    /// in time.
    bool Take(std::uint32_t milliseconds) const;
    void Give() const;

  private:
    NtApi::Handle mutex_ = nullptr;
    NtApi::Handle section_ = nullptr;
    void* view_ = nullptr;
};

/// The claim of a product to be the only one that serves where its names live. A second one would
/// write over the broadcast area of the first before it finds a port taken.
class COnlyProduct {
  public:
    /// `pid` is this process's number. Errors: std::runtime_error when another product serves.
    explicit COnlyProduct(std::uint64_t pid);
    ~COnlyProduct() { claim_.Give(); }

  private:
    CNamedMemory claim_;  // holds the number of the process that has the mutex
};

}  // namespace Kyr::Lab::SimProduct
