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

}  // namespace Kyr::Lab::SimProduct
