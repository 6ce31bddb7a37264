#include "proofs/area/Writer.h"

#include <chrono>
#include <csignal>
#include <cstdio>
#include <exception>
#include <iterator>
#include <random>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

#include "lab/simproduct/area/NamedMemory.h"

namespace Kyr::Proofs::Area {

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

// The names that clients look for (protocol): server id first.
constexpr char16_t kMutexName[] = u"Global\\KELCOMM61564B51To31564B51BroadcastMutex";
constexpr char16_t kSectionName[] = u"Global\\KELCOMM61564B51To31564B51Broadcast";

constexpr std::uint32_t kSize = 0x10000;
// Where the data may begin.
constexpr std::uint32_t kData[] = {0x1000, 0x3000};
constexpr std::uint32_t kWholeData = 0x800;
// What the data may be said to have: all, no block, no plug-in, half of the values, nothing.
constexpr std::uint32_t kDataSizes[] = {kWholeData, kWholeData,  kWholeData, kWholeData, kWholeData,
                                        0x1000,     kBlockPlace, 100,        52,         0};

// Places in the data.
constexpr std::uint32_t kTablePlace = 12;
constexpr std::uint32_t kCountPlace = 20;
constexpr std::uint32_t kTable = 80;
constexpr std::uint32_t kEntries = 3;
constexpr std::uint32_t kEntryLength = 20;
constexpr std::uint32_t kUserData = 200;
constexpr std::uint32_t kPlugIn = 0x1004000;

constexpr std::uint32_t kHeadWords[] = {0, 4, 8, 12, 16, 20, 24, 28};
constexpr std::uint32_t kLies[] = {0,          1,          4,          31,         32,
                                   33,         0x34,       0xFFF,      0x1000,     0x1001,
                                   0xFFFC,     0xFFFF,     0x10000,    0x10004,    0x7FFFFFFC,
                                   0x7FFFFFFF, 0x80000000, 0xFFFFFFE0, 0xFFFFFFFC, 0xFFFFFFFF};

constexpr std::uint32_t kPatienceMs = 20000;  // readers keep the mutex for a copy
constexpr milliseconds kKeeping(100);
constexpr milliseconds kLying(30);
constexpr milliseconds kHold(60);
constexpr milliseconds kLongHold(5600);
constexpr std::uint32_t kLongHoldEvery = 20;  // holds

class CWriter {
  public:
    CWriter(Control& control, const WriterOptions& options, std::uint32_t life)
        : control_(control), options_(options), random_(options.seed * 1000 + life) {
        memory_.Open(kMutexName, kSectionName, kSize, "the broadcast area");
    }

    /// Until its death, or until everything stops.
    void Run() {
        Repair();
        while (!control_.stop) {
            for (int lie = 0; lie < 2; ++lie) {
                Keep();
                Lie();
                Repair();
            }
            Keep();
            Hold();
            Keep();
            LoseThread();
            Keep();
            if (Any(2) == 0) {
                Die();
            }
        }
    }

  private:
    std::uint32_t Any(std::uint32_t below) { return static_cast<std::uint32_t>(random_() % below); }

    void Put(std::uint32_t place, std::uint32_t word) {
        // Whole: readers of single words take no lock.
        __atomic_store_n(reinterpret_cast<std::uint32_t*>(memory_.Bytes() + place), word,
                         __ATOMIC_RELAXED);
    }

    bool Take() {
        if (memory_.Take(kPatienceMs)) {
            return true;
        }
        ++control_.failures;
        return false;
    }

    /// Everything as it should be, under the mutex; from then on the writer keeps to it.
    void Repair() {
        if (!Take()) {
            return;
        }
        Put(0, 32);
        Put(8, 0x436C654B);   // "KelC"
        Put(12, 0x206D6D6F);  // "omm "
        Put(16, 2);
        for (const std::uint32_t data : kData) {
            Put(data + kTablePlace, kTable);
            Put(data + kCountPlace, kEntries);
        }
        PutPattern();
        PutTable();
        Put(24, kData[0]);
        Put(28, kWholeData);
        memory_.Give();
        if (control_.episode % 2 != 0) {
            ++control_.episode;
        }
    }

    /// All words of the blocks, equal ones.
    void PutPattern() {
        const std::uint32_t word = (++pattern_ & 0xFFFF) * 0x10001;
        for (const std::uint32_t data : kData) {
            for (std::uint32_t at = 0; at < kBlockLength; at += 4) {
                Put(data + kBlockPlace + at, word);
            }
            for (std::uint32_t at = 0; at < kValuesLength; at += 4) {
                Put(data + kValuesPlace + at, word);
            }
            for (std::uint32_t at = 0; at < 8 * kEntries; at += 4) {
                Put(data + kUserData + at, word);
            }
        }
    }

    /// The plug-in moves; what a reader finds by an entry that has moved meanwhile is a block, too.
    void PutTable() {
        const std::uint32_t position = Any(kEntries);
        for (const std::uint32_t data : kData) {
            for (std::uint32_t entry = 0; entry < kEntries; ++entry) {
                const std::uint32_t at = data + kTable + kEntryLength * entry;
                Put(at, entry == position ? kPlugIn : 0x1001000 + entry);
                Put(at + 4, 8);
                Put(at + 8, kUserData + 8 * ((entry + position) % kEntries));
                Put(at + 12, ++timestamp_);
            }
        }
    }

    void PutTurn() {
        PutPattern();
        PutTable();
        Put(24, kData[Any(2)]);
        Put(28, kDataSizes[Any(std::size(kDataSizes))]);
    }

    void Keep() {
        for (const auto end = Clock::now() + kKeeping; Clock::now() < end && !control_.stop;) {
            if (!Take()) {
                return;
            }
            PutTurn();
            ++control_.turns;
            memory_.Give();
            // Who lets go of a lock and takes it at once leaves nobody a chance.
            for (std::uint32_t pause = Any(2000); pause != 0; --pause) {
                __atomic_thread_fence(__ATOMIC_SEQ_CST);
            }
        }
    }

    void Hold() {
        if (!Take()) {
            return;
        }
        const std::uint64_t number = ++control_.holds;
        const bool isLong = options_.longHolds && number % kLongHoldEvery == 1;
        const auto time = isLong ? kLongHold : kHold;
        for (const auto end = Clock::now() + time; Clock::now() < end && !control_.stop;) {
            PutTurn();  // the longer a block is being written, the better it can be met half done
        }
        control_.longHolds += isLong ? 1 : 0;
        memory_.Give();
    }

    void LoseThread() {
        std::thread([this] {
            if (Take()) {
                PutTurn();
                ++control_.deadThreads;
            }
        }).join();
    }

    [[noreturn]] void Die() {
        const bool inTheMiddle = Any(2) == 0;
        if (Take()) {
            if (inTheMiddle) {
                ++control_.episode;
                Put(kData[0] + kBlockPlace, 0x00010002);
                Put(kData[1] + kValuesPlace, 0x00010002);
            } else {
                PutTurn();
            }
            ++control_.deaths;
        }
        ::_exit(0);
    }

    /// Any word of head and table becomes anything, as fast as it can, with the mutex or without.
    void Lie() {
        ++control_.episode;
        const bool withMutex = Any(2) == 0 && Take();
        for (const auto end = Clock::now() + kLying; Clock::now() < end;) {
            for (int i = 0; i < 1000; ++i) {
                const std::uint32_t lie = Any(4) == 0 ? static_cast<std::uint32_t>(random_())
                                                      : kLies[Any(std::size(kLies))];
                const std::uint32_t data = kData[Any(2)];
                switch (Any(4)) {
                    case 0:
                        Put(kHeadWords[Any(std::size(kHeadWords))], lie);
                        break;
                    case 1:
                        // Most of the time the data can be found, so that the table is read.
                        Put(24, data);
                        Put(28, kWholeData);
                        break;
                    case 2:
                        Put(data + (Any(2) == 0 ? kTablePlace : kCountPlace), lie);
                        break;
                    default:
                        Put(data + kTable + 4 * Any(5 * kEntries), Any(4) == 0 ? kPlugIn : lie);
                        break;
                }
            }
            control_.lies += 1000;
        }
        if (withMutex) {
            memory_.Give();
        }
    }

    Control& control_;
    const WriterOptions options_;
    std::mt19937 random_;
    Lab::SimProduct::CNamedMemory memory_;
    std::uint32_t pattern_ = 0;
    std::uint32_t timestamp_ = 0;
};

[[noreturn]] void WriteUntilDeath(Control& control, const WriterOptions& options,
                                  std::uint32_t life) {
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    try {
        CWriter(control, options, life).Run();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "writer: %s\n", error.what());
        ++control.failures;
    }
    ::_exit(0);
}

[[noreturn]] void KeepWriterAlive(Control& control, const WriterOptions& options) {
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    for (std::uint32_t life = 0; !control.stop; ++life) {
        const pid_t writer = ::fork();
        if (writer == 0) {
            WriteUntilDeath(control, options, life);
        }
        int status = 0;
        if (writer < 0 || ::waitpid(writer, &status, 0) != writer || status != 0) {
            ++control.failures;
            std::this_thread::sleep_for(milliseconds(10));
        }
    }
    ::_exit(0);
}

}  // namespace

int StartWriters(Control& control, const WriterOptions& options) {
    const pid_t process = ::fork();
    if (process == 0) {
        KeepWriterAlive(control, options);
    }
    return process;
}

bool AwaitWriters(int process) {
    int status = 0;
    return process > 0 && ::waitpid(process, &status, 0) == process && status == 0;
}

}  // namespace Kyr::Proofs::Area
