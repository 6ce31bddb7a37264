// The host log: every line goes to the console and to the log file as a `log` event.
//
// Threads: any. Ownership: the failures must outlive this.
// Errors: std::runtime_error from a line that is to fail on request.
#pragma once

#include <vector>

#include "host/kernel/Resources.h"
#include "lab/common/LineWriter.h"
#include "lab/devhost/resources/Failures.h"

namespace Kyr::Lab::DevHost {

class CHostLog final : public Common::Kernel::ILoggerResource {
  public:
    CHostLog(CFailures& failures, std::vector<LineSink> sinks);
    ~CHostLog() override;
    void Log(const std::string& text, int level, const std::string& source) override;

  private:
    CFailures& failures_;  // borrowed
    const std::vector<LineSink> sinks_;
};

}  // namespace Kyr::Lab::DevHost
