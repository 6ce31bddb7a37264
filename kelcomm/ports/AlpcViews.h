// The view attribute of a message of the advanced port, and the view that a long request travels
// in.
//
// Threads: an object belongs to one thread. Ownership: the native table must outlive it.
// Errors: false when the system refuses; nothing throws.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "kelcomm/native/NativeFunctions.h"

namespace Kyr::Connectors::Common::Kelcomm::Alpc {

/// An attribute buffer that can hold one view.
class CViewAttribute {
  public:
    CViewAttribute() = default;
    CViewAttribute(const CViewAttribute&) = delete;
    CViewAttribute& operator=(const CViewAttribute&) = delete;

    /// Makes the buffer, without a view in it.
    bool Allocate(const Native::CNativeFunctions& native);

    // REQUIRES, for all below: Allocate succeeded.
    NtApi::AlpcMessageAttributes* GetAttributes() { return attributes_; }
    bool HasView() const;
    void SetHasView(bool valid);
    NtApi::AlpcDataViewAttr& GetView();

  private:
    // Room for what the system asks for today; anything more comes from the heap.
    static constexpr std::size_t kUsualSize =
        sizeof(NtApi::AlpcMessageAttributes) + sizeof(NtApi::AlpcDataViewAttr);

    alignas(NtApi::AlpcDataViewAttr) std::uint8_t usual_[kUsualSize];
    std::unique_ptr<std::uint8_t[]> large_;
    NtApi::AlpcMessageAttributes* attributes_ = nullptr;
};

/// The section and view of one long request, deleted with the object.
class CSendView {
  public:
    CSendView(const Native::CNativeFunctions& native, NtApi::Handle port)
        : native_(native), port_(port) {}
    CSendView(const CSendView&) = delete;
    CSendView& operator=(const CSendView&) = delete;
    ~CSendView() { Delete(); }

    /// Copies the payload into a new view and marks it as valid. A view left over from an earlier
    /// use is deleted first.
    bool Fill(const void* payload, std::uint32_t length);
    /// What to send along; null without a view.
    NtApi::AlpcMessageAttributes* GetAttributes();
    /// Takes the mark back once the message has been sent.
    void MarkSent();

  private:
    void Delete();

    const Native::CNativeFunctions& native_;
    const NtApi::Handle port_;
    CViewAttribute attribute_;
    NtApi::Handle section_ = nullptr;
    void* base_ = nullptr;
};

}  // namespace Kyr::Connectors::Common::Kelcomm::Alpc
