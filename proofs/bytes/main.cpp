// Changes sound replies byte by byte and looks what the decoders make of them; README.md says what
// a run shows.
#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <string>

#include "lab/common/CommandLine.h"
#include "proofs/bytes/Account.h"
#include "proofs/bytes/Kind.h"
#include "tests/endurance/Watchdog.h"

namespace {

using namespace Kyr::Proofs::Bytes;
using Kyr::Endurance::CWatchdog;

constexpr std::size_t kMostProblems = 20;
constexpr std::size_t kMostHeld = std::size_t{128} << 20;
constexpr std::size_t kMostHeldForAByte = 24;
constexpr std::size_t kShownBytes = 400;

/// The input that is looked at. What a signal or std::terminate leaves on the screen is made of it,
/// without an allocation.
struct Point {
    const char* kind = "the start";
    const char* sample = "";
    std::size_t change = 0;
};
Point current;

void TellPoint() {
    std::fprintf(stderr, "died at: --kind=\"%s\", sample \"%s\", change %lu\n", current.kind,
                 current.sample, static_cast<unsigned long>(current.change));
}

void OnSignal(int number) {
    TellPoint();
    std::signal(number, SIG_DFL);
    std::raise(number);
}

std::string Hex(const Input& bytes) {
    constexpr char kDigits[] = "0123456789abcdef";
    std::string text;
    for (std::size_t i = 0; i < bytes.size() && i < kShownBytes; ++i) {
        text += kDigits[bytes[i] >> 4];
        text += kDigits[bytes[i] & 15];
    }
    return bytes.size() > kShownBytes ? text + "..." : text;
}

struct Options {
    std::size_t every = 1;
    std::size_t first = 0;
    int seconds = 1;  // of processor time for one input; decoders wait for nobody
    std::string kind;
    std::string classes = "proofs/bytes/classes.txt";
    std::string writeClasses;

    bool IsWhole() const { return every == 1 && first == 0 && kind.empty(); }
};

class CProof {
  public:
    explicit CProof(const Options& options) : options_(options) {}

    void Run() {
        for (auto* const make : {PlainReplyKinds, XmlReplyKinds, RecordReplyKinds, PolicyKinds,
                                 AreaKinds, PortKinds}) {
            for (const Kind& kind : make()) {
                if (options_.kind.empty() || options_.kind == kind.name) {
                    RunKind(kind);
                }
            }
        }
        if (!options_.writeClasses.empty()) {
            account_.Write(options_.writeClasses);
            return;
        }
        for (const std::string& difference :
             account_.Differences(options_.classes, options_.IsWhole())) {
            Tell(difference);
        }
    }

    bool Report() const {
        std::cout << "proof bytes: " << inputs_ << " inputs, " << account_.Classes()
                  << " classes of outcomes, longest " << longest_ * 1000 / CLOCKS_PER_SEC
                  << " ms, most held " << mostHeld_ / 1024 << " KiB, " << problems_
                  << " problems: " << (problems_ == 0 ? "PASS" : "FAIL") << std::endl;
        return problems_ == 0;
    }

  private:
    using Clock = std::chrono::steady_clock;

    void RunKind(const Kind& kind) {
        const Clock::time_point begin = Clock::now();
        const std::uint64_t before = inputs_;
        for (const Sample& sample : kind.samples) {
            if (sample.reach == 0 && options_.every != 1) {
                continue;  // large
            }
            const CChanges changes(sample);
            const std::size_t count = changes.Count();
            // The steps go on from sample to sample, so that none is always met at the same places.
            for (; next_ < count; next_ += options_.every) {
                RunChange(kind, sample, changes, next_);
                if (problems_ >= kMostProblems) {
                    return;
                }
            }
            next_ -= count;
        }
        const auto time =
            std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - begin);
        std::cout << kind.name << ": " << inputs_ - before << " inputs in " << time.count() << " ms"
                  << std::endl;
    }

    void RunChange(const Kind& kind, const Sample& sample, const CChanges& changes,
                   std::size_t index) {
        current = {kind.name.c_str(), sample.name.c_str(), index};
        watchdog_.Tell(current.kind);
        const Input input = changes.Make(index);
        const auto problem = [&](const std::string& what) {
            Tell(kind.name + ", sample \"" + sample.name + "\", change " + std::to_string(index) +
                 " (" + changes.Describe(index) + "): " + what + "\n  " + Hex(input));
        };
        CurrentEffort() = {};
        const Finding finding = kind.look(input);
        const auto [time, held] = CurrentEffort();
        ++inputs_;
        for (const std::string& outcome : finding.classes) {
            account_.Enter(kind, outcome);
        }
        if (!finding.problem.empty()) {
            problem(finding.problem);
        }
        if (time >= options_.seconds * CLOCKS_PER_SEC) {
            problem("takes " + std::to_string(time / CLOCKS_PER_SEC) + " s");
        }
        if (held > kMostHeld + kMostHeldForAByte * input.size()) {
            problem("holds " + std::to_string(held) + " bytes");
        }
        longest_ = std::max(longest_, time);
        mostHeld_ = std::max(mostHeld_, held);
    }

    void Tell(const std::string& problem) {
        ++problems_;
        std::cout << "problem: " << problem << std::endl;
    }

    const Options options_;
    CWatchdog watchdog_;
    CAccount account_;
    std::size_t next_ = options_.first;
    std::uint64_t inputs_ = 0;
    std::uint64_t problems_ = 0;
    std::clock_t longest_ = 0;
    std::size_t mostHeld_ = 0;
};

}  // namespace

int main(int argc, char** argv) {
    Options options;
    CLI::App app("Changes sound replies byte by byte.", "proof_bytes");
    app.add_option("--every", options.every, "only each so many of the changes; 1: all")
        ->check(CLI::PositiveNumber);
    app.add_option("--first", options.first, "how many changes are left out before the first");
    app.add_option("--seconds", options.seconds,
                   "what one input may take; sanitizers make parsers ten times as slow")
        ->check(CLI::PositiveNumber);
    app.add_option("--kind", options.kind, "only this kind of replies");
    app.add_option("--classes", options.classes, "the table of classes to compare with");
    app.add_option("--write-classes", options.writeClasses, "write the table instead");
    if (const auto code = Kyr::Lab::ReadCommandLine(app, argc, argv)) {
        return *code;
    }
    for (const int number : {SIGSEGV, SIGABRT, SIGFPE, SIGILL}) {
        std::signal(number, OnSignal);
    }
    CProof proof(options);
    proof.Run();
    return proof.Report() ? 0 : 1;
}
