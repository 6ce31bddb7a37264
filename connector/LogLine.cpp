#include "connector/LogLine.h"

#include <locale>
#include <sstream>
#include <utility>

#include <boost/thread/thread.hpp>

#include "connector/ILogger.h"

namespace Kyr::Connectors::Common {

ILogger::~ILogger() = default;

struct CLogLine::State {
    State(boost::shared_ptr<Kyr::Common::Kernel::ILoggerResource> hostLogger, int level,
          std::string module)
        : logger(std::move(hostLogger)), hostLevel(level), source(std::move(module)) {
        text.imbue(std::locale::classic());
    }

    boost::shared_ptr<Kyr::Common::Kernel::ILoggerResource> logger;
    int hostLevel;
    std::string source;
    std::ostringstream text;
};

CLogLine::CLogLine() noexcept = default;

CLogLine::CLogLine(boost::shared_ptr<Kyr::Common::Kernel::ILoggerResource> logger, int hostLevel,
                   std::string source) noexcept {
    try {
        state_ = std::make_unique<State>(std::move(logger), hostLevel, std::move(source));
    } catch (...) {
        // Lost.
    }
}

CLogLine::CLogLine(CLogLine&& other) noexcept = default;

CLogLine::~CLogLine() {
    // A stream that has failed holds the first half of the line.
    if (!state_ || !state_->text) {
        return;
    }
    // A host logger that waits must not take the interruption that is meant for the thread.
    const boost::this_thread::disable_interruption notInterruptible;
    try {
        const std::string text = state_->text.str();
        if (!text.empty() && state_->logger) {
            state_->logger->Log(text, state_->hostLevel, state_->source);
        }
    } catch (...) {
        // Memory or the host's logger failed; there is nowhere left to say so.
    }
}

std::ostream* CLogLine::Stream() noexcept {
    return state_ ? &state_->text : nullptr;
}

void CLogLine::Lose() noexcept {
    state_.reset();
}

}  // namespace Kyr::Connectors::Common
