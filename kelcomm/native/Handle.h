// What owns a native object and gives it back: an open handle, and a mapped view of a section.
//
// An owner holds one object or none. It closes what it holds exactly once: when it is destroyed,
// reset, or given another one. Outside this file nobody closes a handle or unmaps a view, so that
// no way out of a function can forget to, and a member can tell by its type what it is answerable
// for. A NtApi::Handle without an owner is borrowed: whoever has one uses it and never closes it.
//
// Owners that are members are destroyed in the reverse order of their declaration. Where the order
// of closing is part of the protocol, it is written out with Reset all the same.
//
// Threads: an owner belongs to one thread at a time, or to a lock that its class names.
// Ownership: the native table must outlive every owner that holds something.
// Errors: a close that fails is not told: there is nothing that a client could do about it.
#pragma once

#include <utility>

#include "kelcomm/native/NativeFunctions.h"

namespace Kyr::Connectors::Common::Kelcomm::Native {

/// Ports, mutexes, sections, events, threads and tokens. Every function of the table that opens one
/// answers null when it cannot; none of them knows INVALID_HANDLE_VALUE.
struct HandleKind {
    using Value = NtApi::Handle;
    static constexpr Value kNone = nullptr;
    static void Close(const NativeFunctions& native, Value value) { native.CloseHandle(value); }
};

/// Views that MapViewOfFile has made. They hold the section open by themselves.
struct ViewKind {
    using Value = const void*;
    static constexpr Value kNone = nullptr;
    static void Close(const NativeFunctions& native, Value value) { native.UnmapViewOfFile(value); }
};

template <typename Kind>
class COwned {
  public:
    using Value = typename Kind::Value;

    /// Owns nothing, and needs a table before it can: assign an owner that has one.
    COwned() = default;
    /// Owns `value` from here on; its kind's kNone is nothing.
    explicit COwned(const NativeFunctions& native, Value value = Kind::kNone)
        : native_(&native), value_(value) {}
    COwned(const COwned&) = delete;
    COwned& operator=(const COwned&) = delete;
    COwned(COwned&& other) noexcept : native_(other.native_), value_(other.Release()) {}
    /// Closes what stood here, by the table that it came with.
    COwned& operator=(COwned&& other) noexcept {
        if (this != &other) {
            Reset();
            native_ = other.native_;
            value_ = other.Release();
        }
        return *this;
    }
    ~COwned() { Reset(); }

    /// Borrowed: valid as long as this owner keeps it.
    Value Get() const { return value_; }
    explicit operator bool() const { return value_ != Kind::kNone; }

    /// Gives the object away unclosed; the caller is answerable for it.
    [[nodiscard]] Value Release() { return std::exchange(value_, Kind::kNone); }

    /// Closes what is held and holds `value` instead; what is held already stays open.
    /// REQUIRES: a table, unless `value` is nothing.
    void Reset(Value value = Kind::kNone) {
        // The new value stands before the old one is closed: whoever looks meanwhile must not find
        // an object that is gone.
        const Value old = std::exchange(value_, value);
        if (old != Kind::kNone && old != value) {
            Kind::Close(*native_, old);
        }
    }

  private:
    const NativeFunctions* native_ = nullptr;
    Value value_ = Kind::kNone;
};

using CHandle = COwned<HandleKind>;
using CMappedView = COwned<ViewKind>;

}  // namespace Kyr::Connectors::Common::Kelcomm::Native
