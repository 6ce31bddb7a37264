// What a proof leaves on the screen when it dies: the point that it was trying, and its last line.
//
// Threads: one foresees, any may die. Errors: none; what is too long is cut.
#pragma once

#include <string>

namespace Kyr::Proofs {

/// From here on std::terminate and the signals of a crash end this process with code 1, after
/// "problem: <what was foreseen>" and "proof <name>: FAIL". REQUIRES: `name` stays.
void LeaveLastWords(const char* name);

/// What is tried from now on.
void Foresee(const std::string& what);

/// Ends this process as a crash would.
[[noreturn]] void Die();

}  // namespace Kyr::Proofs
