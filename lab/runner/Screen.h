// What a person sees of a run: the steps, the events as they happen, waits counting down, and the
// table at the end.
//
// Threads: every operation from any thread; a line is printed whole.
#pragma once

#include <chrono>
#include <cstddef>
#include <mutex>
#include <ostream>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "lab/common/LineProtocol.h"
#include "lab/runner/Figures.h"
#include "lifepage/Life.h"

namespace Kyr::Lab::Runner {

/// What was played of a scenario: its title, and its steps up to the first that failed.
using PlayedSteps = std::pair<std::string, std::vector<LifePage::Step>>;

class CScreen {
  public:
    enum class Detail { kResults, kEverything };

    /// `out` must outlive the screen. `interactive`: a terminal with colours and a line that can be
    /// rewritten.
    CScreen(std::ostream& out, bool interactive, Detail detail);

    void Title(const std::string& title);
    void Step(std::size_t number, const std::string& text);
    void Say(const std::string& text);
    void Command(const std::string& actor, const std::string& line);
    void Event(const std::string& actor, const TimedLine& line);
    /// What was checked and cannot be seen.
    void Passed(const std::string& what);
    void StepPassed(std::size_t expectations, std::chrono::nanoseconds took);
    void Failed(const std::string& what, const std::vector<std::string>& details = {});
    /// Shows how long the system will still wait; empty text takes the line away.
    void Countdown(std::chrono::milliseconds left, const std::string& text);
    void Table(const std::vector<PlayedSteps>& played);
    void Show(const Figures& figures);

  private:
    enum class Colour { kPlain, kBold, kDim, kRed, kGreen, kYellow, kMagenta, kCyan };

    std::string Paint(Colour colour, const std::string& text) const;
    void Print(const std::string& line);
    /// Only for who wants to see everything.
    void Detailed(const std::string& line);
    void Row(Colour colour, const std::string& origin, const std::string& text,
             const std::string& time = {});
    void ClearCountdown();

    std::ostream& out_;
    const bool interactive_;
    const Detail detail_;

    std::mutex mutex_;  // guards the stream and what stands below
    bool countdownShown_ = false;
    std::set<std::string> shown_;  // in this step, of what is shown once a step
};

}  // namespace Kyr::Lab::Runner
