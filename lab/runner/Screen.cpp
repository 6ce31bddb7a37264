#include "lab/runner/Screen.h"

#include <algorithm>
#include <iomanip>
#include <sstream>

#include "lab/runner/Narration.h"

namespace Kyr::Lab::Runner {

namespace {

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

std::string Seconds(std::chrono::milliseconds duration) {
    std::ostringstream text;
    text.imbue(std::locale::classic());
    text << std::fixed << std::setprecision(1) << static_cast<double>(duration.count()) / 1000
         << " s";
    return text.str();
}

/// Who tells it, or which way it crosses the wire between host and product.
std::string Origin(const std::string& actor, Road road) {
    return road == Road::kToProduct ? "wire ->" : road == Road::kFromProduct ? "wire <-" : actor;
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
    const Colour colour = told.weight == Weight::kWarning ? Colour::kYellow
                          : told.weight == Weight::kError ? Colour::kRed
                          : told.road != Road::kNone      ? Colour::kPlain
                          : actor == "product"            ? Colour::kMagenta
                                                          : Colour::kCyan;
    const std::lock_guard<std::mutex> lock(mutex_);
    if (!told.oncePerStep || shown_.insert(told.text).second) {
        Row(colour, Origin(actor, told.road), told.text, line.time);
    }
}

void CScreen::Passed(const std::string& what) {
    const std::lock_guard<std::mutex> lock(mutex_);
    Row(Colour::kGreen, "ok", what);
}

void CScreen::StepPassed(std::size_t expectations, std::chrono::milliseconds took) {
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

void CScreen::Table(const std::vector<StepResult>& results) {
    const std::lock_guard<std::mutex> lock(mutex_);
    const std::string asked = "What was asked";
    std::size_t width = asked.size();
    for (const StepResult& result : results) {
        width = std::max(width, result.step.size() + 2);
    }
    std::string scenario;
    Print("");
    Print(Paint(Colour::kBold, Padded(asked, width) + "  What happened      Time"));
    for (const StepResult& result : results) {
        if (result.scenario != scenario) {
            scenario = result.scenario;
            Print(Paint(Colour::kDim, scenario));
        }
        Print(Padded("  " + result.step, width) + "  " +
              Paint(result.passed ? Colour::kGreen : Colour::kRed,
                    Padded(result.passed ? "as expected" : "FAILED", 12)) +
              RightAligned(Seconds(result.took), 11));
        if (!result.passed) {
            Print(Paint(Colour::kRed, "    " + result.failure));
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
