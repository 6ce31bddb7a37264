#include "tests/module/WatchFixture.h"

#include <algorithm>
#include <stdexcept>

namespace Kyr::Connectors::OvAgentConnector {

using Kyr::Common::Message::Connectors::OvAgentConnector::COvAgentRequest;

void CIterationClock::SleepFor(std::chrono::milliseconds duration) {
    sleeps.push_back(duration);
    if (iteration == lastIteration) {
        throw boost::thread_interrupted();
    }
    now += secondsPerSleep;
    ++iteration;
    if (const auto action = beforeIteration.find(iteration); action != beforeIteration.end()) {
        action->second();
    }
}

void CWatchJournal::Log(const std::string& text, int level, const std::string&) {
    byIteration[clock_.iteration].push_back(std::to_string(level) + " " + text);
}

void CWatchJournal::Publish(const Message& message) {
    const auto request = boost::dynamic_pointer_cast<COvAgentRequest>(message);
    const int kind = request ? request->GetRequestType() : -1;
    if (std::count(failing.begin(), failing.end(), kind) != 0) {
        failure();
    }
    byIteration[clock_.iteration].push_back("publish " + std::to_string(kind));
    messages.push_back(message);
}

Common::CLogLine CWatchJournal::GetLog(int level) {
    // The line borrows the journal, which outlives it.
    return Common::CLogLine(
        boost::shared_ptr<Kyr::Common::Kernel::ILoggerResource>(this, [](void*) {}), level,
        "Watch");
}

WatchFixture::WatchFixture() {
    alpc_->broadcastArea.assign(72, 0xFF);
}

void WatchFixture::Watch(unsigned iterations) {
    clock_->iteration = 1;
    clock_->lastIteration = iterations;
    CPeriodicWatch watch({channel_, keyValues_, journal_, journal_, *clock_}, build_);
    EXPECT_THROW(watch.Run(), boost::thread_interrupted);
}

WatchFixture::Strings WatchFixture::WatchOnce() {
    Watch(1);
    return In(1);
}

void WatchFixture::SetBroadcast(std::int32_t index, std::int32_t value) {
    // The places of the values in the product's area.
    constexpr std::size_t kPlaces[] = {24, 28, 32, 36, 40, 52, 56, 60, 64, 68};
    for (std::size_t byte = 0; byte < 4; ++byte) {
        alpc_->broadcastArea[kPlaces[index] + byte] =
            static_cast<unsigned char>(static_cast<std::uint32_t>(value) >> (8 * byte));
    }
}

void WatchFixture::FailKey(const std::string& key) {
    keyValues_.OnGet([key](const std::string& wanted) {
        if (wanted == key) {
            throw std::runtime_error("store failed");
        }
    });
}

}  // namespace Kyr::Connectors::OvAgentConnector
