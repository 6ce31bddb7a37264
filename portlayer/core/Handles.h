// The handle table of the process: maps handles to the objects behind them.
//
// A handle is never reused for a long time, so a stale one is found out. Closing a handle ends the
// object's outside life (OnClose); threads inside a call still hold it and leave with a status.
// Threads: any.
#pragma once

#include <cstdint>
#include <memory>
#include <type_traits>
#include <typeinfo>
#include <utility>

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

/// The object when it is of the given class, else null. Classes of objects are final, so that
/// comparing types is enough: a dynamic_cast costs several times as much.
template <typename T>
T* As(CObject* object) {
    static_assert(std::is_final_v<T>);
    return object != nullptr && typeid(*object) == typeid(T) ? static_cast<T*>(object) : nullptr;
}

/// The object behind the handle when it is of the given class, else null.
template <typename T>
std::shared_ptr<T> Find(NtApi::Handle handle) {
    std::shared_ptr<CObject> object = FindObject(handle);
    return As<T>(object.get()) != nullptr ? std::static_pointer_cast<T>(std::move(object))
                                          : nullptr;
}

}  // namespace Kyr::PortLayer::Detail
