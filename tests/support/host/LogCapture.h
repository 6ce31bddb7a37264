// A host log that keeps its lines, or forgets them, and the connector logger that writes into it.
//
// Threads: any.
#pragma once

#include <atomic>
#include <functional>
#include <iosfwd>
#include <string>
#include <utility>
#include <vector>

#include "connector/ILogger.h"
#include "host/kernel/Resources.h"
#include "tests/support/Guarded.h"

namespace Kyr::Test {

struct LogEntry {
    std::string text;
    int level;
    std::string source;
};

bool operator==(const LogEntry& left, const LogEntry& right);
void PrintTo(const LogEntry& entry, std::ostream* out);

class CLogCapture : public Common::Kernel::ILoggerResource {
  public:
    void Log(const std::string& text, int level, const std::string& source) override;

    std::vector<LogEntry> Entries() const { return entries_.Get(); }
    /// "4 text" for each line: what most tests compare.
    std::vector<std::string> Lines() const;
    /// Waits until a line has exactly this text.
    bool AwaitText(const std::string& text) const;

    /// Whether lines are kept from now on.
    void SetRecording(bool recording) { recording_ = recording; }
    /// Called with every line before it is kept, with no lock held; what it throws reaches who
    /// logs. REQUIRES: nobody logs yet.
    void OnLine(std::function<void(const LogEntry&)> hook) { onLine_ = std::move(hook); }

  private:
    std::atomic<bool> recording_{true};
    std::function<void(const LogEntry&)> onLine_;
    CGuarded<std::vector<LogEntry>> entries_;
};

/// The connector logger over a capture of its own; host level = connector level.
class CCapturingLogger : public Connectors::Common::ILogger {
  public:
    CCapturingLogger();
    Connectors::Common::CLogLine GetLog(int level) noexcept override;

    CLogCapture& Capture() const { return *capture_; }

  private:
    const boost::shared_ptr<CLogCapture> capture_;
};

}  // namespace Kyr::Test
