// The account of what a conversation's module reports by itself: how the product is, and when
// things happened.
//
// A status that the product hands out is told, once, before the product is asked for anything else;
// besides it only the module's own findings are told: connected, and not. What happened is told
// with the time that the calendar shows then, however it has jumped. A change in the area is acted
// upon five seconds later by that calendar, not before.
//
// Threads: any. Errors: a broken promise ends the process, with a line that says which.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include <boost/thread/mutex.hpp>

#include "host/kernel/IMessage.h"

namespace Kyr::Fuzz {

class CReports {
  public:
    void StatusHandedOut(std::uint64_t status);
    /// The product is asked for something.
    void ExpectStatusTold() const;
    /// It was the last one that was told.
    void ExpectStatus(std::uint64_t status) const;

    /// The calendar shows that many seconds.
    void Published(const Common::Kernel::IMessage& message, std::int64_t calendar);
    void Logged(const std::string& line, std::int64_t calendar);
    /// A trigger of that kind was published; `kept`: the bus has taken it.
    void Triggered(int kind, bool kept = true);

    /// The module is gone with all that it knew.
    void ProcessEnded();

  private:
    void EnterStatus(std::uint64_t status);

    mutable boost::mutex mutex_;                        // guards everything below
    std::optional<std::uint64_t> status_;               // handed out and not yet told
    std::optional<std::uint64_t> told_;                 // the product's last
    std::map<int, std::vector<std::int64_t>> changes_;  // when they were found, by the trigger
    std::optional<int> publishing_;                     // the trigger that a line has announced
};

}  // namespace Kyr::Fuzz
