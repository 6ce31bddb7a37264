#include "kelcomm/ports/AlpcViews.h"

#include <cstring>
#include <new>

#include "ntapi/Status.h"

namespace Kyr::Connectors::Common::Kelcomm::Alpc {

bool CViewAttribute::Allocate(const Native::NativeFunctions& native) {
    // The system is asked for the size first, which it tells by failing; any other answer comes
    // from a system without advanced ports. In less room than the structures used here need, they
    // would run past its end.
    std::size_t size = 0;
    if (native.AlpcInitializeMessageAttribute(NtApi::kAlpcMessageViewAttribute, nullptr, 0,
                                              &size) != NtApi::kStatusBufferTooSmall ||
        size < kUsualSize) {
        return false;
    }
    std::uint8_t* memory = usual_;
    if (size > kUsualSize) {
        large_.reset(new (std::nothrow) std::uint8_t[size]);
        memory = large_.get();
        if (memory == nullptr) {
            return false;
        }
    }
    // The system writes the head only. What stood in the body would be taken for a view.
    std::memset(memory, 0, size);
    auto* const attributes = reinterpret_cast<NtApi::AlpcMessageAttributes*>(memory);
    if (NtApi::IsError(native.AlpcInitializeMessageAttribute(NtApi::kAlpcMessageViewAttribute,
                                                             attributes, size, &size))) {
        return false;
    }
    attributes_ = attributes;
    return true;
}

bool CViewAttribute::HasView() const {
    return (attributes_->ValidAttributes & NtApi::kAlpcMessageViewAttribute) != 0;
}

void CViewAttribute::SetHasView(bool valid) {
    if (valid) {
        attributes_->ValidAttributes |= NtApi::kAlpcMessageViewAttribute;
    } else {
        attributes_->ValidAttributes &= ~NtApi::kAlpcMessageViewAttribute;
    }
}

NtApi::AlpcDataViewAttr& CViewAttribute::GetView() {
    // The bodies follow the head, and the view's is the only one allocated.
    return *reinterpret_cast<NtApi::AlpcDataViewAttr*>(attributes_ + 1);
}

bool CSendView::Fill(const void* payload, std::uint32_t length) {
    if (attribute_.GetAttributes() == nullptr && !attribute_.Allocate(native_)) {
        return false;
    }
    Delete();
    // Secure: what the server has checked of the payload can no longer change under it. Exactly as
    // long as the payload; the system rounds up to pages and says so in `actualSize`.
    std::size_t actualSize = 0;
    if (NtApi::IsError(native_.NtAlpcCreatePortSection(port_, NtApi::kAlpcPortSectionSecure,
                                                       nullptr, length, &section_, &actualSize))) {
        section_ = nullptr;  // whatever a failing call has written there
        return false;
    }
    NtApi::AlpcDataViewAttr& view = attribute_.GetView();
    view.Flags = 0;
    view.SectionHandle = section_;
    view.ViewBase = nullptr;
    view.ViewSize = length;
    // From here on a failure leaves the section, and the view if there is one, to the destructor.
    if (NtApi::IsError(native_.NtAlpcCreateSectionView(port_, 0, &view))) {
        return false;
    }
    base_ = view.ViewBase;
    if (base_ == nullptr || view.ViewSize < length) {
        return false;
    }
    std::memcpy(base_, payload, length);
    // Auto-release: our mapping ends as the message leaves, since nobody reads it here any more.
    view.Flags = NtApi::kAlpcViewSecured | NtApi::kAlpcViewAutoRelease;
    attribute_.SetHasView(true);
    return true;
}

NtApi::AlpcMessageAttributes* CSendView::GetAttributes() {
    return attribute_.GetAttributes();
}

void CSendView::MarkSent() {
    // The view went with the message. Left marked, it would go along with whatever the attributes
    // are handed over for next.
    if (attribute_.GetAttributes() != nullptr) {
        attribute_.SetHasView(false);
    }
}

void CSendView::Delete() {
    // The view before its section.
    if (base_ != nullptr) {
        // Fails harmlessly for a view that the system has released with the message.
        native_.NtAlpcDeleteSectionView(port_, 0, base_);
        base_ = nullptr;
    }
    if (section_ != nullptr) {
        native_.NtAlpcDeletePortSection(port_, 0, section_);
        section_ = nullptr;
    }
}

}  // namespace Kyr::Connectors::Common::Kelcomm::Alpc
