#include "kelcomm/ports/AlpcViews.h"

#include <cstring>
#include <new>

#include "ntapi/Status.h"

namespace Kyr::Connectors::Common::Kelcomm::Alpc {

bool CViewAttribute::Allocate(const Native::CNativeFunctions& native) {
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
    std::size_t actualSize = 0;
    if (NtApi::IsError(native_.NtAlpcCreatePortSection(port_, NtApi::kAlpcPortSectionSecure,
                                                       nullptr, length, &section_, &actualSize))) {
        section_ = nullptr;
        return false;
    }
    NtApi::AlpcDataViewAttr& view = attribute_.GetView();
    view.Flags = 0;
    view.SectionHandle = section_;
    view.ViewBase = nullptr;
    view.ViewSize = length;
    if (NtApi::IsError(native_.NtAlpcCreateSectionView(port_, 0, &view))) {
        return false;
    }
    base_ = view.ViewBase;
    if (base_ == nullptr || view.ViewSize < length) {
        return false;
    }
    std::memcpy(base_, payload, length);
    view.Flags = NtApi::kAlpcViewSecured | NtApi::kAlpcViewAutoRelease;
    attribute_.SetHasView(true);
    return true;
}

NtApi::AlpcMessageAttributes* CSendView::GetAttributes() {
    return attribute_.GetAttributes();
}

void CSendView::MarkSent() {
    if (attribute_.GetAttributes() != nullptr) {
        attribute_.SetHasView(false);
    }
}

void CSendView::Delete() {
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
