// Work that may never end, and how long one waits for it: no exchange with the product has a time
// limit of its own.
//
// Threads: any. The work runs on a thread of its own.
// Ownership: work that is left behind goes on with all that it holds until the process ends. What
// it uses must belong to it, or live as long.
#pragma once

#include <chrono>
#include <functional>

namespace Kyr::Probe {

/// Called about once a second while somebody waits, with how long that has been.
using Progress = std::function<void(std::chrono::seconds)>;

/// Runs `work`. True when it has ended within `limit`; what it throws is thrown here. False: it is
/// left behind.
bool EndsWithin(std::chrono::milliseconds limit, std::function<void()> work,
                const Progress& progress = {});

/// Whether work of this process was ever left behind. Such a process ends without cleaning up: the
/// thread would meet what is gone.
bool IsWorkLeftBehind();

}  // namespace Kyr::Probe
