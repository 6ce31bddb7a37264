// Keeps what a run of one scenario tells: in a file, an event a line, for reading afterwards, in
// figures, and for the page that shows it (lifepage/).
//
// Threads: every operation from any thread.
// Errors: std::runtime_error for a file that cannot be written; std::invalid_argument for an event
// that is not known, or whose count is no number: it is kept, but not counted.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <fstream>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "lab/common/LineProtocol.h"
#include "lab/runner/Figures.h"
#include "lab/runner/NeutralTranscript.h"
#include "lab/runner/life/ToldEvents.h"
#include "lifepage/Life.h"

namespace Kyr::Lab::Runner {

class CLifeBook {
  public:
    /// The file `transcript` gets each event as it comes. `title`: of the scenario; `toldBy`: when,
    /// and by what, the run was made.
    CLifeBook(const std::string& transcript, std::string title, std::string toldBy);

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
    /// The step that was opened last has ended, with that failure; empty: as expected. What fails
    /// before the first one is a step of its own. How long it took; nothing when there is none.
    std::optional<LifePage::Moment> StepDone(const std::string& failure);

    std::vector<LifePage::Step> Steps() const;
    Figures Sum() const;
    /// All of it, and what follows from it.
    LifePage::Life Life() const;
    std::string NeutralTranscript() const;

  private:
    LifePage::Moment Since(std::uint64_t stamp) const;
    std::size_t Process(const std::string& actor);
    void Tell(const std::string& actor, LifePage::Moment at, const CLine& line);

    const std::string title_;
    const std::string toldBy_;
    const std::chrono::system_clock::time_point begin_;
    const std::uint64_t beginStamp_;

    mutable std::mutex mutex_;  // guards what follows
    std::ofstream transcript_;
    CFigureCounter counter_;
    std::vector<LifePage::Process> processes_;
    std::map<std::string, std::vector<std::size_t>> processesOf_;  // by actor
    std::vector<LifePage::Step> steps_;
    std::vector<ToldEvent> told_;
    GivenTexts given_;
};

}  // namespace Kyr::Lab::Runner
