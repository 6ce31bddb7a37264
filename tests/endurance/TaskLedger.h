// The account of the tasks: every one that was given to the module must have reached the product,
// or been reported as failed for good, and nothing must be told more often than it happened.
//
// A failure that will be tried again is no end of a task: whoever gives it up has to say so. What
// the product itself tells of a task may be lost with a reply, but not told twice.
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
    /// The product has handed out what became of the task. The reply may be lost.
    void HandedOut(const std::string& identifier);
    /// The module has published what became of a task, in the terms of host/Catalogue.h.
    void Reported(const std::string& identifier, std::int32_t status, std::uint64_t code,
                  std::int64_t severity);

    /// How often the product was reached and how often a failure was reported, repetitions
    /// included.
    std::uint64_t Deeds() const;
    std::uint64_t Failures() const;
    /// Tasks that neither reached the product nor were reported as failed for good.
    std::uint64_t Lost() const;
    /// Tasks that were given up more than once, or whose outcome was told more often than the
    /// product handed it out; and reports of no task that was ever given.
    std::uint64_t ToldTooOften() const;

  private:
    struct Task {
        std::uint64_t deeds = 0;
        std::uint64_t handedOut = 0;
        std::uint64_t told = 0;     // of what was handed out
        std::uint64_t givenUp = 0;  // by the module
    };
    template <typename Condition>
    std::uint64_t Count(const Condition& condition) const;
    Task* Find(const std::string& identifier);

    mutable boost::mutex mutex_;  // guards everything below
    std::vector<Task> tasks_;     // by number
    std::uint64_t deeds_ = 0;
    std::uint64_t failures_ = 0;
    std::uint64_t ofNobody_ = 0;
};

}  // namespace Kyr::Endurance
