// Reads the broadcast area while another process writes it at full speed, in good order and not;
// README.md says what a run shows.
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <new>
#include <string>
#include <sys/mman.h>
#include <unistd.h>
#include <vector>

#include <boost/thread/thread.hpp>

#include "lab/common/CommandLine.h"
#include "proofs/area/Readers.h"
#include "proofs/area/Writer.h"
#include "tests/endurance/Watchdog.h"

namespace {

using namespace Kyr::Proofs::Area;

constexpr std::uint32_t kSecondsForLongHolds = 60;
constexpr std::uint32_t kMostSecondsMore = 60;
// The protocol's five seconds, but for what a clock may lack.
constexpr std::chrono::milliseconds kLeastPatience(4990);

// Written without a lock or an allocation.
void TellAndDie() {
    constexpr char kText[] = "died while reading\n";
    (void)!write(STDERR_FILENO, kText, sizeof(kText) - 1);
    std::_Exit(1);
}

Control& MakeControl() {
    void* const memory =
        ::mmap(nullptr, sizeof(Control), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) {
        throw std::bad_alloc();
    }
    return *new (memory) Control;
}

/// Whether everything has happened that is to be judged.
bool IsComplete(const Control& control, const CReaders& readers, bool isLong) {
    return control.lies != 0 && control.holds != 0 && control.deaths != 0 &&
           control.deadThreads != 0 && readers.ReadsBehindTheDead() != 0 &&
           (!isLong || (control.longHolds != 0 && CReaders::TimedOut() != 0));
}

/// One line a thing that is wrong.
std::vector<std::string> Judge(const Control& control, const CReaders& readers, bool isLong) {
    std::vector<std::string> problems = readers.Problems();
    const auto expect = [&problems](bool holds, const char* otherwise) {
        if (!holds) {
            problems.push_back(otherwise);
        }
    };
    expect(control.failures == 0, "the writer has failed");
    expect(readers.JudgedBlocks() != 0 && readers.JudgedWords() != 0, "nothing could be judged");
    expect(CReaders::LeastPatience() >= kLeastPatience, "a reader has given the mutex up early");
    expect(IsComplete(control, readers, isLong),
           "not everything has happened that is to be judged");
    return problems;
}

void Print(const char* name, std::uint64_t number) {
    std::cout << name << ": " << number << '\n';
}

bool Report(const Control& control, const CReaders& readers, std::uint32_t seconds, bool isLong) {
    const auto problems = Judge(control, readers, isLong);
    Print("turns under the mutex", control.turns);
    Print("words lied", control.lies);
    Print("holds", control.holds);
    Print("of them beyond the readers' patience", control.longHolds);
    Print("deaths of the process with the mutex", control.deaths);
    Print("deaths of a thread with it", control.deadThreads);
    Print("mutex had from the dead", CReaders::Abandoned());
    Print("reads behind that", readers.ReadsBehindTheDead());
    Print("mutex not had in time", CReaders::TimedOut());
    for (const std::string& problem : problems) {
        std::cout << "problem: " << problem << '\n';
    }
    std::cout << "proof area: " << seconds << " s, " << readers.Reads() << " reads, judged "
              << readers.JudgedBlocks() << " blocks and " << readers.JudgedWords()
              << " words, longest " << readers.Longest().count() << " ms, " << problems.size()
              << " problems: " << (problems.empty() ? "PASS" : "FAIL") << std::endl;
    return problems.empty();
}

}  // namespace

int main(int argc, char** argv) {
    std::uint32_t seconds = 600;
    WriterOptions options;
    CLI::App app("Reads the broadcast area while another process scribbles over it.", "proof_area");
    app.add_option("--seconds", seconds, "how long");
    app.add_option("--seed", options.seed, "of what the writer does");
    if (const auto code = Kyr::Lab::ReadCommandLine(app, argc, argv)) {
        return *code;
    }
    options.longHolds = seconds >= kSecondsForLongHolds;
    // Before there is a second thread.
    Control& control = MakeControl();
    const int writers = StartWriters(control, options);
    std::set_terminate(TellAndDie);
    for (const int number : {SIGSEGV, SIGBUS}) {
        std::signal(number, [](int) { TellAndDie(); });
    }
    Kyr::Endurance::CWatchdog watchdog;
    CReaders readers(control);
    // On a busy machine some things take their time.
    const auto isComplete = [&] { return IsComplete(control, readers, options.longHolds); };
    for (std::uint32_t second = 0;
         second < seconds || (second < seconds + kMostSecondsMore && !isComplete()); ++second) {
        boost::this_thread::sleep_for(boost::chrono::seconds(1));
        watchdog.Tell("a second");
    }
    control.stop = true;
    readers.Stop();
    const bool ended = AwaitWriters(writers);
    if (!ended) {
        std::cout << "problem: the writer has not ended in good order\n";
    }
    return Report(control, readers, seconds, options.longHolds) && ended ? 0 : 1;
}
