// The account of the tasks: every one that was given to the module must have reached the product,
// or been reported as failed.
//
// A task carries its number in its third identifier, which product and task event repeat.
// Threads: any.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <boost/thread/mutex.hpp>

namespace Kyr::Endurance {

class CTaskLedger {
  public:
    /// The identifier of a new task.
    std::string Enter();
    /// The product has carried the task out, or refused it. Other texts count as nothing.
    void Reached(const std::string& identifier);
    /// The module has reported that the task failed, perhaps to be tried again.
    void ReportedFailed(const std::string& identifier);

    std::uint64_t Tasks() const;
    /// How often the product was reached and how often a failure was reported, repetitions
    /// included.
    std::uint64_t Deeds() const;
    std::uint64_t Reports() const;
    /// Tasks of which nobody has heard again.
    std::uint64_t Lost() const;

  private:
    void MarkHeardOf(const std::string& identifier);

    mutable boost::mutex mutex_;  // guards everything below
    std::vector<bool> heardOf_;   // by number
    std::uint64_t deeds_ = 0;
    std::uint64_t reports_ = 0;
};

}  // namespace Kyr::Endurance
