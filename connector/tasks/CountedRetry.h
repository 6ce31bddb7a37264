// The rule for failures that most tasks follow: whatever goes wrong asks for another, counted
// attempt.
//
// Threads: the task thread.
#pragma once

#include <exception>

#include "connector/TaskExceptions.h"

namespace Kyr::Connectors::Common {

/// Runs `work`. A std::exception of whatever class leaves as a counted CRetryException with its
/// text; anything else, an interruption above all, passes.
template <typename Work>
void WithCountedRetry(Work&& work) {
    try {
        work();
    } catch (const std::exception& error) {
        throw CRetryException(error.what(), false);
    }
}

}  // namespace Kyr::Connectors::Common
