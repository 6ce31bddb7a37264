// Keeps what a run tells: in a file, an event a line, for reading afterwards, and for the page that
// shows it (lifepage/).
//
// Threads: every operation from any thread.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <mutex>
#include <ostream>
#include <string>
#include <vector>

#include "lab/common/LineProtocol.h"
#include "lab/runner/NeutralTranscript.h"
#include "lab/runner/Screen.h"
#include "lab/runner/life/ToldEvents.h"
#include "lifepage/Life.h"

namespace Kyr::Lab::Runner {

class CLifeBook {
  public:
    /// `transcript` gets each event as it comes, and must outlive the book. `toldBy`: when, and by
    /// what, the run was made.
    CLifeBook(std::ostream& transcript, std::string toldBy);

    void Title(const std::string& title);
    /// A process of `actor` is started.
    void Begin(const std::string& actor, const std::string& command);
    /// Its process has ended, so.
    void End(const std::string& actor, const std::string& how);
    /// Somebody types a line.
    void Command(const std::string& actor, const std::string& line);
    void Event(const std::string& actor, const TimedLine& line);
    /// The scenario calls a field of an event, or has said a text, that its neutral transcript
    /// keeps.
    void Name(const std::string& key, const std::string& value, const std::string& name);
    void Given(const std::string& text);
    void Step(const std::string& text);
    /// How the step that was opened last has ended.
    void StepDone(const StepResult& result);

    /// All of it, and what follows from it.
    LifePage::Life Life() const;
    std::string NeutralTranscript() const;

  private:
    LifePage::Moment Since(std::uint64_t stamp) const;
    std::size_t Process(const std::string& actor);
    void Tell(const std::string& actor, LifePage::Moment at, const CLine& line);

    const std::string toldBy_;
    const std::chrono::system_clock::time_point begin_;
    const std::uint64_t beginStamp_;

    mutable std::mutex mutex_;  // guards what follows
    std::ostream& transcript_;
    std::string title_;
    std::vector<LifePage::Process> processes_;
    std::map<std::string, std::vector<std::size_t>> processesOf_;  // by actor
    std::vector<LifePage::Step> steps_;
    std::vector<ToldEvent> told_;
    GivenTexts given_;
};

}  // namespace Kyr::Lab::Runner
