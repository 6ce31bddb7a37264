#include "connector/LogLine.h"

#include <locale>
#include <sstream>
#include <utility>

#include <boost/thread/thread.hpp>

#include "connector/ILogger.h"

namespace Kyr::Connectors::Common {

ILogger::~ILogger() = default;

struct CLogLine::State {
    boost::shared_ptr<Kyr::Common::Kernel::ILoggerResource> logger;
    int hostLevel;
    std::string source;
    std::ostringstream text;
};

CLogLine::CLogLine(boost::shared_ptr<Kyr::Common::Kernel::ILoggerResource> logger, int hostLevel,
                   std::string source)
    : state_(new State{std::move(logger), hostLevel, std::move(source), {}}) {
    state_->text.imbue(std::locale::classic());
}

CLogLine::CLogLine(CLogLine&& other) noexcept = default;

CLogLine::~CLogLine() {
    if (!state_) {
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
        // The host's logger failed; there is nowhere left to say so.
    }
}

std::ostream& CLogLine::Stream() {
    return state_->text;
}

}  // namespace Kyr::Connectors::Common
