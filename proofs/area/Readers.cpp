#include "proofs/area/Readers.h"

#include <limits>
#include <memory>
#include <optional>
#include <stdexcept>

#include <boost/make_shared.hpp>
#include <boost/thread/lock_guard.hpp>

#include "base/Clock.h"
#include "base/LittleEndian.h"
#include "kelcomm/OvAgentChannel.h"
#include "kelcomm/ports/KelcommClientNt.h"
#include "ntapi/Status.h"

namespace Kyr::Proofs::Area {

namespace {

namespace Kelcomm = Connectors::Common::Kelcomm;
using Connectors::OvAgentConnector::COvAgentChannel;
using std::chrono::milliseconds;

// The protocol's five seconds, and one for the machine.
constexpr milliseconds kBlockLimit(6000);
// A single word waits for nobody but the machine.
constexpr milliseconds kWordLimit(2500);
constexpr std::size_t kMostProblems = 20;
constexpr int kReadsOfAChannel = 50;  // one that found no plug-in finds none any more
constexpr int kReadsOfAMapping = 5000;

std::atomic<std::uint64_t> abandoned{0};
std::atomic<std::uint64_t> timedOut{0};
std::atomic<std::int64_t> leastPatience{std::numeric_limits<std::int64_t>::max()};
thread_local bool isBehindTheDead = false;  // this thread's last wait gave it the mutex of one

milliseconds Since(std::chrono::steady_clock::time_point begin) {
    return std::chrono::duration_cast<milliseconds>(std::chrono::steady_clock::now() - begin);
}

std::uint32_t KYR_NTAPI CountedWait(NtApi::Handle object, std::uint32_t limit) {
    const auto begin = std::chrono::steady_clock::now();
    const std::uint32_t result =
        Kelcomm::Native::SystemNativeFunctions().WaitForSingleObject(object, limit);
    isBehindTheDead = result == NtApi::kWaitAbandoned;
    abandoned += isBehindTheDead ? 1 : 0;
    if (result == NtApi::kWaitTimeout) {
        ++timedOut;
        const std::int64_t time = Since(begin).count();
        std::int64_t least = leastPatience;
        while (least > time && !leastPatience.compare_exchange_weak(least, time)) {
        }
    }
    return result;
}

/// The system's functions, one of them with a count.
const Kelcomm::Native::NativeFunctions& Functions() {
    static const Kelcomm::Native::NativeFunctions functions = [] {
        Kelcomm::Native::NativeFunctions made = Kelcomm::Native::SystemNativeFunctions();
        made.WaitForSingleObject = &CountedWait;
        return made;
    }();
    return functions;
}

}  // namespace

struct CReaders::Client {
    const std::unique_ptr<Kelcomm::IKelcommClient> client =
        Kelcomm::CreateKelcommClientNt(Functions());
};

CReaders::CReaders(const Control& control)
    : control_(control), client_(boost::make_shared<Client>()) {
    threads_.create_thread([this] { ReadByChannel(); });
    threads_.create_thread([this] { ReadBlocks(); });
    threads_.create_thread([this] { ReadWords(); });
}

CReaders::~CReaders() {
    Stop();
}

void CReaders::Stop() {
    stop_ = true;
    threads_.join_all();
}

std::uint64_t CReaders::Abandoned() {
    return abandoned;
}

std::uint64_t CReaders::TimedOut() {
    return timedOut;
}

milliseconds CReaders::LeastPatience() {
    return milliseconds(leastPatience);
}

std::vector<std::string> CReaders::Problems() const {
    const boost::lock_guard<boost::mutex> guard(mutex_);
    return problems_;
}

void CReaders::Tell(const std::string& problem) {
    const boost::lock_guard<boost::mutex> guard(mutex_);
    if (problems_.size() < kMostProblems) {
        problems_.push_back(problem);
    }
}

/// `read` returns a function that judges what it has read, or an empty one. It is called when the
/// writer has kept to the mutex all the time.
template <typename Read>
void CReaders::Try(const char* what, milliseconds limit, Read read) {
    const std::uint64_t before = control_.episode;
    isBehindTheDead = false;
    const auto begin = std::chrono::steady_clock::now();
    const auto judge = read();
    const milliseconds time = Since(begin);
    ++reads_;
    readsBehindTheDead_ += judge && isBehindTheDead ? 1 : 0;
    std::int64_t longest = longest_;
    while (longest < time.count() && !longest_.compare_exchange_weak(longest, time.count())) {
    }
    if (time > limit) {
        Tell(std::string(what) + " took " + std::to_string(time.count()) + " ms");
    }
    if (judge && before % 2 == 0 && control_.episode == before) {
        (*judge)();
    }
}

void CReaders::JudgeWord(const char* what, std::uint32_t word) {
    ++judgedWords_;
    if (!HasEqualHalves(word)) {
        Tell(std::string(what) + " is torn: " + std::to_string(word));
    }
}

void CReaders::JudgeBlock(const char* what, const std::vector<std::uint8_t>& block) {
    ++judgedBlocks_;
    const auto first = Base::LoadLittleEndian<std::uint32_t>(block.data());
    for (std::size_t at = 0; at < block.size(); at += 4) {
        const auto word = Base::LoadLittleEndian<std::uint32_t>(block.data() + at);
        if (word != first || !HasEqualHalves(word)) {
            Tell(std::string(what) + " is torn: word " + std::to_string(at / 4) + " is " +
                 std::to_string(word) + ", the first one " + std::to_string(first));
            return;
        }
    }
}

void CReaders::ReadByChannel() {
    constexpr std::int32_t kPlugIn = 10;
    while (!stop_) {
        COvAgentChannel channel(0, 0, Functions(), Base::SystemClock());
        std::string errors;
        channel.Ping(errors);  // nobody serves the ports; the area is read all the same
        for (int read = 0; read < kReadsOfAChannel && !stop_; ++read) {
            for (std::int32_t index = 0; index <= kPlugIn; ++index) {
                const char* const what = index == kPlugIn ? "the plug-in's value" : "a value";
                Try(what, index == kPlugIn ? kBlockLimit : kWordLimit, [&] {
                    std::optional<std::int32_t> value;
                    try {
                        channel.HasBroadcastChanged(index);
                        value = channel.GetBroadcast(index);
                    } catch (const std::runtime_error&) {
                        // The area does not hold it, or the mutex was not to be had.
                    }
                    const auto judge = [this, what, value] {
                        JudgeWord(what, static_cast<std::uint32_t>(*value));
                    };
                    return value ? std::optional(judge) : std::nullopt;
                });
            }
        }
    }
}

void CReaders::ReadBlocks() {
    struct Block {
        const char* name;
        std::uint32_t place;
        std::uint32_t length;
    };
    constexpr Block kBlocks[] = {{"a block", kBlockPlace, kBlockLength},
                                 {"the block of values", kValuesPlace, kValuesLength}};
    while (!stop_) {
        for (const Block& block : kBlocks) {
            Try(block.name, kBlockLimit, [&] {
                std::vector<std::uint8_t> bytes(block.length);
                const bool isRead =
                    client_->client->ReadBroadcast(block.place, bytes.data(), block.length) ==
                    Kelcomm::kKelcommSuccess;
                const auto judge = [this, name = block.name, bytes] { JudgeBlock(name, bytes); };
                return isRead ? std::optional(judge) : std::nullopt;
            });
        }
    }
}

void CReaders::ReadWords() {
    for (int read = 0; !stop_; ++read) {
        Try("a word", kWordLimit, [&] {
            std::uint32_t word = 0;
            const bool isRead =
                client_->client->ReadBroadcastValue(kBlockPlace + 4 * (read % 128), &word) ==
                Kelcomm::kKelcommSuccess;
            const auto judge = [this, word] { JudgeWord("a word", word); };
            return isRead ? std::optional(judge) : std::nullopt;
        });
        // The area goes away under the other thread, and is opened anew.
        if (read % kReadsOfAMapping == 0) {
            client_->client->Close();
        }
    }
}

}  // namespace Kyr::Proofs::Area
