// The host log: every line goes to the console and to the log file as a `log` event.
//
// Threads: any.
#pragma once

#include <vector>

#include "host/kernel/Resources.h"
#include "lab/common/LineWriter.h"

namespace Kyr::Lab::DevHost {

class CHostLog final : public Common::Kernel::ILoggerResource {
  public:
    explicit CHostLog(std::vector<LineSink> sinks);
    ~CHostLog() override;
    void Log(const std::string& text, int level, const std::string& source) override;

  private:
    const std::vector<LineSink> sinks_;
};

}  // namespace Kyr::Lab::DevHost
