// Plays lives of the real module, each told by a seed: what happens, when, and which thread goes
// on. ../README.md says what a run shows.
#include <ctime>
#include <functional>
#include <iomanip>
#include <iostream>
#include <optional>
#include <string>
#include <string_view>

#include <boost/make_shared.hpp>

#include "lab/common/CommandLine.h"
#include "proofs/common/LastWords.h"
#include "proofs/common/Processor.h"
#include "proofs/conversation/Script.h"
#include "proofs/conversation/SeededClock.h"
#include "tests/endurance/Watchdog.h"

namespace {

using namespace Kyr::Proofs::Conversation;
using Kyr::Endurance::CWatchdog;
using Kyr::Fuzz::CConversation;
using Kyr::Fuzz::RecordKind;

constexpr double kSecondsOfADay = 24 * 3600;
constexpr double kSecondsOfAYear = 365.25 * kSecondsOfADay;

// What a whole run must come to.
constexpr std::uint64_t kSeedsOfAll = 10000;
constexpr std::uint64_t kDaysOfAll = 2000;
constexpr double kYearsAMinuteOfAll = 1;

double ProcessorSeconds() {
    return static_cast<double>(std::clock()) / CLOCKS_PER_SEC;
}

struct Figures {
    double simulatedSeconds = 0;
    std::uint64_t events = 0;
    std::uint64_t records = 0;
    std::uint64_t outcomes = 0;
    std::uint64_t givenUp = 0;
};

/// Returns what tells this life from others.
std::uint64_t Play(std::uint64_t seed, bool told, Figures& figures, CWatchdog& watchdog) {
    std::uint64_t trace = 14695981039346656037u;
    const auto clock = boost::make_shared<CSeededClock>(seed);
    CConversation conversation(clock);
    conversation.OnTrace([&](const char* what, const std::string& text) {
        const auto mix = [&trace](std::uint64_t value) {
            trace = (trace ^ value) * 1099511628211u;
        };
        watchdog.Tell("an event");
        ++figures.events;
        mix(static_cast<std::uint64_t>(clock->Now().count()));
        mix(static_cast<std::uint64_t>(clock->CalendarTime()));
        mix(std::hash<std::string_view>()(what));
        mix(std::hash<std::string_view>()(text));
        if (told) {
            std::cout << std::setw(12) << clock->Now().count() << " ms  " << what << ": "
                      << text.substr(0, 200) << std::endl;
        }
    });
    const Script script = ScriptOf(seed);
    if (script.beginsWithoutProduct) {
        conversation.BeginWithoutProduct();
    } else {
        conversation.Begin();
    }
    for (const Script::Part& part : script.parts) {
        for (const Act& act : part.acts) {
            if (told) {
                std::cout << std::setw(12) << clock->Now().count() << " ms  ACT "
                          << (act.kind == Act::kStep ? act.operation : -act.kind) << ' '
                          << int{act.argument} << ' ' << act.duration.count() << std::endl;
            }
            switch (act.kind) {
                case Act::kStep:
                    conversation.Play(act.operation, act.argument);
                    break;
                case Act::kOutage:
                    conversation.LoseProduct(act.duration);
                    break;
                case Act::kHostFails:
                    conversation.FailHost(act.argument);
                    break;
            }
        }
        conversation.ExpectRecovery(part.announcesOutcomes, part.refusedRequests);
    }
    conversation.End();
    figures.simulatedSeconds += static_cast<double>(clock->Now().count()) / 1000;
    const auto& account = conversation.Account();
    for (const RecordKind kind :
         {RecordKind::kIndicator, RecordKind::kTelemetry, RecordKind::kAction}) {
        figures.records += account.StoredRecords(kind);
    }
    figures.outcomes += account.ToldOutcomes();
    return trace;
}

}  // namespace

int main(int argc, char** argv) {
    std::uint64_t first = 1;
    std::uint64_t seeds = 10000;
    std::uint64_t twiceEvery = 10;
    std::uint64_t only = 0;
    std::optional<std::uint64_t> daysAsked;
    std::optional<double> yearsAMinuteAsked;
    CLI::App app("Plays lives of the module, each told by a seed.", "proof_conversation");
    app.add_option("--first", first, "the first seed");
    app.add_option("--seeds", seeds, "how many");
    app.add_option("--twice-every", twiceEvery, "of so many one is played twice and compared")
        ->check(CLI::PositiveNumber);
    app.add_option("--seed", only, "plays that one, and tells it");
    app.add_option("--at-least-days", daysAsked,
                   "how much time must pass in all lives; 2,000 with 10,000 seeds");
    app.add_option("--years-a-minute", yearsAMinuteAsked,
                   "how much time a minute of the processor must simulate; 1 with 10,000 seeds");
    if (const auto code = Kyr::Lab::ReadCommandLine(app, argc, argv)) {
        return *code;
    }
    Kyr::Proofs::LeaveLastWords("conversation");
    Kyr::Proofs::StayOnOneProcessor();
    CWatchdog watchdog;
    if (only != 0) {
        first = only;
        seeds = 1;
    }
    const bool isWhole = seeds >= kSeedsOfAll;
    const std::uint64_t leastDays = daysAsked.value_or(isWhole ? kDaysOfAll : 0);
    const double leastYearsAMinute = yearsAMinuteAsked.value_or(isWhole ? kYearsAMinuteOfAll : 0);
    Figures figures;
    std::uint64_t problems = 0;
    const double begin = ProcessorSeconds();
    for (std::uint64_t seed = first; seed < first + seeds; ++seed) {
        Kyr::Proofs::Foresee("seed " + std::to_string(seed));
        const std::uint64_t trace = Play(seed, only != 0, figures, watchdog);
        if (seed % twiceEvery == 0 && Play(seed, false, figures, watchdog) != trace) {
            ++problems;
            std::cout << "problem: seed " << seed << " told two lives" << std::endl;
        }
    }
    const double years = figures.simulatedSeconds / kSecondsOfAYear;
    const double perYear = (ProcessorSeconds() - begin) / years;
    if (figures.simulatedSeconds < static_cast<double>(leastDays) * kSecondsOfADay) {
        ++problems;
        std::cout << "problem: " << leastDays << " days were expected" << std::endl;
    }
    if (perYear * leastYearsAMinute > 60) {
        ++problems;
        std::cout << "problem: " << leastYearsAMinute << " years a minute were expected"
                  << std::endl;
    }
    std::cout << std::fixed << std::setprecision(1) << "proof conversation: " << seeds << " seeds, "
              << years << " years at " << perYear << " s of processor time each, " << figures.events
              << " events, " << figures.records << " records, " << figures.outcomes << " outcomes, "
              << problems << " problems: " << (problems == 0 ? "PASS" : "FAIL") << std::endl;
    return problems == 0 ? 0 : 1;
}
