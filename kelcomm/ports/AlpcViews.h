// The view attribute of a message of the advanced port, and the view that a long request travels
// in.
//
// What is too long for a message goes beside it, as a view of a section that the port makes. The
// message then carries an attribute buffer: a head, which says which attributes there are and which
// of them are filled in, and behind it the body of the view.
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

    /// Makes the buffer, without a view in it. The object's own memory is enough for that on the
    /// systems there are, since it is made for every request.
    bool Allocate(const Native::NativeFunctions& native);

    // REQUIRES, for all below: Allocate succeeded.
    NtApi::AlpcMessageAttributes* GetAttributes() { return attributes_; }
    /// Whether the view's mark is set: by the system in a received message, by us in one to send.
    bool HasView() const;
    void SetHasView(bool valid);
    /// The view's body, which means something only while the mark is set.
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
    CSendView(const Native::NativeFunctions& native, NtApi::Handle port)
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

    const Native::NativeFunctions& native_;
    const NtApi::Handle port_;  // borrowed, must outlive the object: both are deleted through it
    CViewAttribute attribute_;
    NtApi::Handle section_ = nullptr;  // the port's own kind of handle, no CloseHandle ends it
    void* base_ = nullptr;             // the view; null when there is none or the system refused
};

}  // namespace Kyr::Connectors::Common::Kelcomm::Alpc
