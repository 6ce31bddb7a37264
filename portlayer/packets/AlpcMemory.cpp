#include "portlayer/packets/AlpcMemory.h"

#include <algorithm>

namespace Kyr::PortLayer::Detail {

namespace {

using namespace NtApi;

constexpr std::size_t kPageSize = 4096;

}  // namespace

NtStatus CAlpcMemory::CreateSection(std::size_t size, Handle& section, std::size_t* actualSize) {
    if (size == 0) {
        return kStatusInvalidParameter;
    }
    SendArea area;
    if (!pool_.Acquire(size, area)) {
        return kStatusNoMemory;
    }
    // The system gives whole pages and tells how much.
    const std::size_t rounded = (size + kPageSize - 1) / kPageSize * kPageSize;
    const auto created = std::make_shared<CPortSection>(pool_, area, rounded);
    const std::lock_guard<std::mutex> lock(mutex_);
    // Section handles are a port's own, numbered like the system's: never null, and multiples of
    // four.
    lastHandle_ += 4;
    created->handle = reinterpret_cast<Handle>(lastHandle_);
    sections_.push_back(created);
    section = created->handle;
    if (actualSize != nullptr) {
        *actualSize = rounded;
    }
    return kStatusSuccess;
}

CAlpcMemory::Sections::iterator CAlpcMemory::FindSection(Handle handle) {
    return std::find_if(sections_.begin(), sections_.end(), [handle](const auto& section) {
        return handle != nullptr && section->handle == handle;
    });
}

NtStatus CAlpcMemory::DeleteSection(Handle handle) {
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto found = FindSection(handle);
    if (found == sections_.end()) {
        return kStatusInvalidHandle;
    }
    // A view that still stands keeps the memory.
    (*found)->handle = nullptr;
    if (!(*found)->view) {
        sections_.erase(found);
    }
    return kStatusSuccess;
}

NtStatus CAlpcMemory::CreateView(AlpcDataViewAttr& view) {
    if (view.ViewBase != nullptr || view.Flags != 0 || view.ViewSize == 0) {
        return kStatusInvalidParameter;
    }
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto found = FindSection(view.SectionHandle);
    if (found == sections_.end()) {
        return kStatusInvalidHandle;
    }
    CPortSection& section = **found;
    if (section.view || view.ViewSize > section.size) {
        return kStatusInvalidParameter;
    }
    section.view = CLiveCount(LiveCounter::kSectionViews);
    view.ViewBase = section.area.base;
    return kStatusSuccess;
}

NtStatus CAlpcMemory::DeleteView(const void* base) {
    const std::lock_guard<std::mutex> lock(mutex_);
    // Views that were made here and views that were received here are mapped at the same time, so
    // that an address is of one of them.
    for (const auto& section : sections_) {
        if (section->view && section->area.base == base) {
            EndOwnView(*section);
            return kStatusSuccess;
        }
    }
    for (auto message = messages_.begin(); message != messages_.end(); ++message) {
        if (message->liveView && message->view.base == base) {
            EndView(*message);
            if (!message->needsRelease) {
                messages_.erase(message);
            }
            return kStatusSuccess;
        }
    }
    return kStatusInvalidParameter;
}

NtStatus CAlpcMemory::AttachView(const AlpcDataViewAttr& view, OutgoingPacket& packet,
                                 std::shared_ptr<CPortSection>& section) {
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto found = FindSection(view.SectionHandle);
    if (found == sections_.end()) {
        return kStatusInvalidHandle;
    }
    const CPortSection& item = **found;
    // The peer would take a view that it still has for a broken promise.
    if (!item.view || view.ViewBase != item.area.base || view.ViewSize == 0 ||
        view.ViewSize > item.size || pool_.IsLent(item.area.slot)) {
        return kStatusInvalidParameter;
    }
    section = *found;
    // The peer is told that the section is a secure one; the other flags are for our end.
    packet.SetView(item.area.slot, view.ViewSize, view.Flags & kAlpcViewSecured);
    return kStatusSuccess;
}

void CAlpcMemory::ViewSent(CPortSection& section) {
    const std::lock_guard<std::mutex> lock(mutex_);
    EndOwnView(section);
}

void CAlpcMemory::EndOwnView(CPortSection& section) {
    section.view.Reset();
    if (section.handle == nullptr) {
        sections_.erase(std::remove_if(sections_.begin(), sections_.end(),
                                       [&](const auto& item) { return item.get() == &section; }),
                        sections_.end());
    }
}

bool CAlpcMemory::AddReceived(std::uint32_t messageId, const ReceivedView& view,
                              bool needsRelease) {
    // Nothing that could be released: most messages.
    const bool hasView = view.slot != kNoSlot;
    if (!hasView && !needsRelease) {
        return true;
    }
    const std::lock_guard<std::mutex> lock(mutex_);
    const bool known = std::any_of(
        messages_.begin(), messages_.end(), [messageId, needsRelease](const Received& message) {
            return needsRelease && message.needsRelease && message.messageId == messageId;
        });
    if (known) {
        return false;
    }
    messages_.push_back({messageId, view,
                         needsRelease ? CLiveCount(LiveCounter::kUnreleasedMessages) : CLiveCount(),
                         hasView ? CLiveCount(LiveCounter::kReceivedViews) : CLiveCount()});
    return true;
}

NtStatus CAlpcMemory::ReleaseMessage(std::uint32_t messageId, bool unmapView) {
    const std::lock_guard<std::mutex> lock(mutex_);
    for (auto message = messages_.begin(); message != messages_.end(); ++message) {
        if (!message->needsRelease || message->messageId != messageId) {
            continue;
        }
        message->needsRelease.Reset();
        if (unmapView && message->liveView) {
            EndView(*message);
        }
        if (!message->liveView) {
            messages_.erase(message);
        }
        return kStatusSuccess;
    }
    return kStatusInvalidMessage;
}

void CAlpcMemory::EndView(Received& message) {
    message.liveView.Reset();
    received_.Free(message.view.slot);
}

void CAlpcMemory::Clear() {
    const std::lock_guard<std::mutex> lock(mutex_);
    for (Received& message : messages_) {
        if (message.liveView) {
            EndView(message);
        }
    }
    messages_.clear();
    sections_.clear();
}

}  // namespace Kyr::PortLayer::Detail
