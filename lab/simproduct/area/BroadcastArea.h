// The broadcast area as the product keeps it: a named section that everybody reads, and a named
// mutex that guards its writing.
//
// Threads: one, since a mutex belongs to the thread that took it.
// Ownership: the section ends with its last holder; a reader that has it mapped sees a product that
//   starts again.
// Errors: std::runtime_error when the area is not open, cannot be made, or its mutex cannot be had.
#pragma once

#include <functional>
#include <optional>

#include "lab/simproduct/area/AreaImage.h"
#include "lab/simproduct/area/NamedMemory.h"
#include "lab/simproduct/requests/Bytes.h"

namespace Kyr::Lab::SimProduct {

class CBroadcastArea {
  public:
    CBroadcastArea() = default;
    CBroadcastArea(const CBroadcastArea&) = delete;
    CBroadcastArea& operator=(const CBroadcastArea&) = delete;
    /// Gives back a held mutex, too.
    ~CBroadcastArea() { Release(); }

    /// Makes section and mutex and writes a healthy area or, when it is not empty, the image of
    /// another. REQUIRES: it was not called before.
    void Open(const Bytes& image = {});

    const CAreaImage& Image() const;
    std::uint32_t Value(std::uint32_t index) const { return Image().Value(index); }

    /// Lets `change` write into the image while the mutex is taken.
    void Change(const std::function<void(CAreaImage&)>& change);
    void SetValue(std::uint32_t index, std::uint32_t value);
    /// Ends every lie; the values stay.
    void Restore();

    /// Takes the mutex and keeps it until Release.
    void Hold();
    void Release();
    bool IsHeld() const { return held_; }
    /// Lets a thread take the mutex and end without giving it back.
    void Abandon();

  private:
    void Take() const;

    CNamedMemory memory_;
    std::optional<CAreaImage> image_;
    bool held_ = false;
};

}  // namespace Kyr::Lab::SimProduct
