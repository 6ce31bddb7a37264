// Ends this process at once, without any clean-up, as a crash or a kill from outside would.
//
// Threads: any. Errors: none.
#pragma once

namespace Kyr::Lab {

/// What is seen of a process that was killed, here or from outside, where its exit code is asked
/// for: the number of SIGKILL. Windows has no such number; our programs give this one there (our
/// choice), which none of them ends with otherwise.
constexpr int kKilled = 9;

[[noreturn]] void EndThisProcess();

}  // namespace Kyr::Lab
