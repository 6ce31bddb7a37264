// Owner of one handle of the operating system: a file descriptor, or a kernel object's handle.
//
// For what crosses a connection beside the bytes of a packet. How one is closed is the back end's.
#pragma once

#include <cstdint>
#include <utility>

namespace Kyr::PortLayer::Detail {

/// Defined by the back end.
void CloseSystemHandle(std::intptr_t handle);

class CSystemHandle {
  public:
    CSystemHandle() = default;
    explicit CSystemHandle(std::intptr_t value) : value_(value) {}
    CSystemHandle(CSystemHandle&& other) noexcept : value_(other.Release()) {}
    CSystemHandle& operator=(CSystemHandle&& other) noexcept {
        Reset(other.Release());
        return *this;
    }
    ~CSystemHandle() { Reset(); }

    std::intptr_t Get() const { return value_; }
    bool IsOpen() const { return value_ != kNone; }
    std::intptr_t Release() { return std::exchange(value_, kNone); }
    void Reset(std::intptr_t value = kNone) {
        if (IsOpen()) {
            CloseSystemHandle(value_);
        }
        value_ = value;
    }

  private:
    static constexpr std::intptr_t kNone = -1;

    std::intptr_t value_ = kNone;
};

}  // namespace Kyr::PortLayer::Detail
