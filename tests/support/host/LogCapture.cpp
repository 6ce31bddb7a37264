#include "tests/support/host/LogCapture.h"

#include <algorithm>
#include <ostream>

#include <boost/make_shared.hpp>

#include "tests/support/time/Await.h"

namespace Kyr::Test {

bool operator==(const LogEntry& left, const LogEntry& right) {
    return left.text == right.text && left.level == right.level && left.source == right.source;
}

void PrintTo(const LogEntry& entry, std::ostream* out) {
    *out << entry.source << " " << entry.level << " \"" << entry.text << "\"";
}

void CLogCapture::Log(const std::string& text, int level, const std::string& source) {
    if (!recording_ && !onLine_) {
        return;
    }
    LogEntry entry{text, level, source};
    if (onLine_) {
        onLine_(entry);
    }
    if (recording_) {
        entries_.With([&](auto& entries) { entries.push_back(std::move(entry)); });
    }
}

std::vector<std::string> CLogCapture::Lines() const {
    std::vector<std::string> lines;
    for (const LogEntry& entry : Entries()) {
        lines.push_back(std::to_string(entry.level) + " " + entry.text);
    }
    return lines;
}

bool CLogCapture::AwaitText(const std::string& text) const {
    return Await([this, &text] {
        const std::vector<LogEntry> entries = Entries();
        return std::any_of(entries.begin(), entries.end(),
                           [&text](const LogEntry& entry) { return entry.text == text; });
    });
}

CCapturingLogger::CCapturingLogger() : capture_(boost::make_shared<CLogCapture>()) {}

Connectors::Common::CLogLine CCapturingLogger::GetLog(int level) noexcept {
    return Connectors::Common::CLogLine(capture_, level, "Capture");
}

}  // namespace Kyr::Test
