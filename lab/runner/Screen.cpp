#include "lab/runner/Screen.h"

#include <algorithm>
#include <locale>

#include <boost/format.hpp>

#include "lab/runner/Narration.h"

namespace Kyr::Lab::Runner {

namespace {

using LifePage::Weight;

constexpr std::size_t kTimeWidth = 12;
constexpr std::size_t kActorWidth = 9;
constexpr std::size_t kEventWidth = 104;
constexpr std::size_t kDetailWidth = 400;  // of an event that is looked at closely

std::string Padding(const std::string& text, std::size_t width) {
    return std::string(width - std::min(width, text.size()), ' ');
}

std::string Padded(const std::string& text, std::size_t width) {
    return text + Padding(text, width);
}

std::string RightAligned(const std::string& text, std::size_t width) {
    return Padding(text, width) + text;
}

/// Long texts stand whole in the transcript.
std::string Shortened(const std::string& text, std::size_t width = kEventWidth) {
    return text.size() <= width ? text : text.substr(0, width - 3) + "...";
}

std::string Seconds(std::chrono::nanoseconds duration) {
    const double seconds = std::chrono::duration<double>(duration).count();
    return (boost::format("%.1f s", std::locale::classic()) % seconds).str();
}

}  // namespace

CScreen::CScreen(std::ostream& out, bool interactive, Detail detail)
    : out_(out), interactive_(interactive), detail_(detail) {}

std::string CScreen::Paint(Colour colour, const std::string& text) const {
    if (!interactive_ || colour == Colour::kPlain) {
        return text;
    }
    static const char* const codes[] = {"", "1", "2", "31", "32", "33", "35", "36"};
    return "\x1b[" + std::string(codes[static_cast<int>(colour)]) + "m" + text + "\x1b[0m";
}

void CScreen::ClearCountdown() {
    if (countdownShown_) {
        out_ << "\r\x1b[K";
        countdownShown_ = false;
    }
}

void CScreen::Print(const std::string& line) {
    ClearCountdown();
    out_ << line << std::endl;
}

void CScreen::Detailed(const std::string& line) {
    if (detail_ == Detail::kEverything) {
        Print(line);
    }
}

void CScreen::Row(Colour colour, const std::string& origin, const std::string& text,
                  const std::string& time) {
    Detailed("  " + Paint(time.empty() ? Colour::kPlain : Colour::kDim, Padded(time, kTimeWidth)) +
             "  " + Paint(colour, Padded(origin, kActorWidth) + Shortened(text)));
}

void CScreen::Title(const std::string& title) {
    const std::lock_guard<std::mutex> lock(mutex_);
    shown_.clear();
    Detailed("");
    Detailed(Paint(Colour::kBold, title));
}

void CScreen::Step(std::size_t number, const std::string& text) {
    Title(std::to_string(number) + ". " + text);
}

void CScreen::Say(const std::string& text) {
    const std::lock_guard<std::mutex> lock(mutex_);
    Detailed(std::string(kTimeWidth + 4, ' ') + text);
}

void CScreen::Command(const std::string& actor, const std::string& line) {
    const std::lock_guard<std::mutex> lock(mutex_);
    Row(Colour::kBold, actor, "<- " + line);
}

void CScreen::Event(const std::string& actor, const TimedLine& line) {
    const Narration told = Narrate(line.line);
    if (told.weight == Weight::kDetail) {
        return;
    }
    const bool crosses = !told.wire.empty();
    const Colour colour = told.weight == Weight::kWarning ? Colour::kYellow
                          : told.weight == Weight::kError ? Colour::kRed
                          : crosses                       ? Colour::kPlain
                          : actor == "product"            ? Colour::kMagenta
                                                          : Colour::kCyan;
    const std::lock_guard<std::mutex> lock(mutex_);
    if (!told.oncePerStep || shown_.insert(told.text).second) {
        Row(colour, crosses ? told.wire : actor, told.text, line.time);
    }
}

void CScreen::Passed(const std::string& what) {
    const std::lock_guard<std::mutex> lock(mutex_);
    Row(Colour::kGreen, "ok", what);
}

void CScreen::StepPassed(std::size_t expectations, std::chrono::nanoseconds took) {
    const std::string what = expectations == 0 ? "as expected"
                             : expectations == 1
                                 ? "1 expectation held"
                                 : std::to_string(expectations) + " expectations held";
    Passed(what + ", " + Seconds(took));
}

void CScreen::Failed(const std::string& what, const std::vector<std::string>& details) {
    const std::lock_guard<std::mutex> lock(mutex_);
    const std::string margin(kTimeWidth + 4, ' ');
    Print(margin + Paint(Colour::kRed, "NOT as expected: " + what));
    for (const std::string& detail : details) {
        Print(margin + Shortened(detail, kDetailWidth));
    }
}

void CScreen::Countdown(std::chrono::milliseconds left, const std::string& text) {
    if (detail_ != Detail::kEverything || !interactive_) {
        return;
    }
    const std::lock_guard<std::mutex> lock(mutex_);
    ClearCountdown();
    if (!text.empty()) {
        out_ << Paint(Colour::kYellow, "     " + Padded(Seconds(left), 12) + " " + text)
             << std::flush;
        countdownShown_ = true;
    }
}

void CScreen::Table(const std::vector<PlayedSteps>& played) {
    const std::lock_guard<std::mutex> lock(mutex_);
    const std::string asked = "What was asked";
    std::size_t width = asked.size();
    for (const auto& [scenario, steps] : played) {
        for (const LifePage::Step& step : steps) {
            width = std::max(width, step.text.size() + 2);
        }
    }
    Print("");
    Print(Paint(Colour::kBold, Padded(asked, width) + "  What happened      Time"));
    for (const auto& [scenario, steps] : played) {
        if (!steps.empty()) {
            Print(Paint(Colour::kDim, scenario));
        }
        for (const LifePage::Step& step : steps) {
            const bool held = step.end == LifePage::Step::End::kHeld;
            Print(Padded("  " + step.text, width) + "  " +
                  Paint(held ? Colour::kGreen : Colour::kRed,
                        Padded(held ? "as expected" : "FAILED", 12)) +
                  RightAligned(Seconds(step.until - step.from), 11));
            if (!held) {
                Print(Paint(Colour::kRed, "    " + step.failure));
            }
        }
    }
}

void CScreen::Show(const Figures& figures) {
    const std::lock_guard<std::mutex> lock(mutex_);
    Print("");
    Print(Paint(Colour::kBold, "In figures"));
    for (const auto& [what, count] : Rows(figures)) {
        Print(Padded("  " + what, 26) + RightAligned(count, 6));
    }
}

}  // namespace Kyr::Lab::Runner
