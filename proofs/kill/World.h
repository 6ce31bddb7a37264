// One host and one product with a run directory and a journal of their own, to be killed and
// started again until the scenario's work is done, and once more afterwards.
//
// Threads: one; REQUIRES: the process has no other, since it forks.
// Errors: what is found wrong is a sentence in the result; std::runtime_error when nothing can be
// started.
#pragma once

#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "proofs/kill/Account.h"
#include "proofs/kill/Calls.h"

namespace Kyr::Proofs::Kill {

enum class Role { kHost, kProduct };
constexpr std::size_t kRoles = 2;
constexpr const char* NameOf(Role role) {
    return role == Role::kHost ? "host" : "product";
}

/// Each kill is due when the one before it has come.
struct Kill {
    Role role;
    /// The number of the moment in the life that is then being lived, counted from then; 0: by
    /// time.
    std::uint64_t moment;
    std::chrono::microseconds time;
};

/// "host:17" or "host:17000us".
std::string TextOf(const Kill& kill);

struct Played {
    std::vector<std::string> problems;
    std::vector<std::string> deaths;     // which call, for people
    std::uint64_t moments[kRoles] = {};  // of the first life of each that nobody killed
    std::uint64_t lives = 0;             // of both
    std::uint64_t stored = 0;            // records
    std::uint64_t twice = 0;             // of them
    std::uint64_t inFlight[3] = {};      // deaths between a batch and its position, by kind
    std::uint64_t tasks = 0;
    std::uint64_t lostOutcomes = 0;
};

class CWorld {
  public:
    /// `folder` exists, for nobody else. `realTime`: the host's waits are as long as they are.
    CWorld(const std::string& folder, bool realTime);
    ~CWorld();
    CWorld(const CWorld&) = delete;
    CWorld& operator=(const CWorld&) = delete;

    Played Play(const Scenario& scenario, const std::vector<Kill>& kills);
    /// The lines of the last play.
    std::vector<std::string> Story() const;

  private:
    class CPlay;
    struct Control;

    const std::string folder_;
    const bool realTime_;
    Control& control_;
};

}  // namespace Kyr::Proofs::Kill
