// The handle table of the process: maps handles to the objects behind them.
//
// A handle is never reused for a long time, so a stale one is found out. Closing a handle ends the
// object's outside life (OnClose); threads inside a call still hold it and leave with a status.
// Threads: any.
#pragma once

#include <cstdint>
#include <memory>

#include "ntapi/Types.h"

namespace Kyr::PortLayer::Detail {

class CObject {
  public:
    CObject() = default;
    CObject(const CObject&) = delete;
    CObject& operator=(const CObject&) = delete;
    virtual ~CObject();

    /// Called once, when the object's last handle is closed, on the closing thread.
    virtual void OnClose() {}
};

/// Null when the table is full.
NtApi::Handle AddHandle(std::shared_ptr<CObject> object);
std::shared_ptr<CObject> FindObject(NtApi::Handle handle);
/// False when there is no such handle.
bool RemoveHandle(NtApi::Handle handle);

/// The object behind the handle when it is of the given class, else null.
template <typename T>
std::shared_ptr<T> Find(NtApi::Handle handle) {
    return std::dynamic_pointer_cast<T>(FindObject(handle));
}

}  // namespace Kyr::PortLayer::Detail
