// The system's own header, with what it would define in everybody's way left out.
//
// Included last: nothing of ours shall meet its macros.
#pragma once

#define WIN32_LEAN_AND_MEAN
#define NOMINMAX 1
#include <windows.h>

#include "portlayer/core/SystemHandle.h"

namespace Kyr::PortLayer::Detail {

inline HANDLE Native(const CSystemHandle& handle) {
    return reinterpret_cast<HANDLE>(handle.Get());
}

/// Owns what a call of the system returned; null and the invalid handle are none.
inline CSystemHandle Own(HANDLE handle) {
    return handle != nullptr ? CSystemHandle(reinterpret_cast<std::intptr_t>(handle))
                             : CSystemHandle();
}

}  // namespace Kyr::PortLayer::Detail
