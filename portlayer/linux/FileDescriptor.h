// Owner of one file descriptor.
#pragma once

#include <unistd.h>
#include <utility>

namespace Kyr::PortLayer::Detail {

class CFileDescriptor {
  public:
    CFileDescriptor() = default;
    explicit CFileDescriptor(int value) : value_(value) {}
    CFileDescriptor(CFileDescriptor&& other) noexcept : value_(other.Release()) {}
    CFileDescriptor& operator=(CFileDescriptor&& other) noexcept {
        Reset(other.Release());
        return *this;
    }
    ~CFileDescriptor() { Reset(); }

    int Get() const { return value_; }
    bool IsOpen() const { return value_ >= 0; }
    int Release() { return std::exchange(value_, -1); }
    void Reset(int value = -1) {
        if (value_ >= 0) {
            ::close(value_);
        }
        value_ = value;
    }

  private:
    int value_ = -1;
};

}  // namespace Kyr::PortLayer::Detail
