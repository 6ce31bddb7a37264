#include "tests/module/WatchFixture.h"

#include <algorithm>
#include <stdexcept>

namespace Kyr::Connectors::OvAgentConnector {

using Kyr::Common::Message::Connectors::OvAgentConnector::COvAgentRequest;

WatchFixture::WatchFixture() {
    alpc_->broadcastArea.assign(72, 0xFF);
    clock_->SetAutomaticSleep(true);
    clock_->BeforeSleep([this](std::chrono::milliseconds) {
        if (iteration_ == lastIteration_) {
            throw boost::thread_interrupted();
        }
        if (const auto action = beforeIteration_.find(++iteration_);
            action != beforeIteration_.end()) {
            action->second();
        }
    });
    logger_.Capture().OnLine([this](const Kyr::Test::LogEntry& line) {
        journal_[iteration_].push_back(std::to_string(line.level) + " " + line.text);
    });
    publisher_.onPublish = [this](const auto& message) {
        const auto request = boost::dynamic_pointer_cast<COvAgentRequest>(message);
        const int kind = request ? request->GetRequestType() : -1;
        if (std::count(refused_.begin(), refused_.end(), kind) != 0) {
            refusal_();
        }
        journal_[iteration_].push_back("publish " + std::to_string(kind));
    };
}

void WatchFixture::RunWatch() {
    CPeriodicWatch({channel_, keyValues_, publisher_, logger_, *clock_}, build_).Run();
}

void WatchFixture::Watch(unsigned iterations) {
    iteration_ = 1;
    lastIteration_ = iterations;
    EXPECT_THROW(RunWatch(), boost::thread_interrupted);
}

WatchFixture::Strings WatchFixture::WatchOnce() {
    Watch(1);
    return In(1);
}

void WatchFixture::FailKey(const std::string& key) {
    keyValues_.OnGet([key](const std::string& wanted) {
        if (wanted == key) {
            throw std::runtime_error("store failed");
        }
    });
}

}  // namespace Kyr::Connectors::OvAgentConnector
