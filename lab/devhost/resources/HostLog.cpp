#include "lab/devhost/resources/HostLog.h"

#include <utility>

namespace Kyr::Lab::DevHost {

CHostLog::CHostLog(CFailures& failures, std::vector<LineSink> sinks)
    : failures_(failures), sinks_(std::move(sinks)) {}
CHostLog::~CHostLog() = default;

void CHostLog::Log(const std::string& text, int level, const std::string& source) {
    failures_.Meet(Failure::kLog, text);
    const CLine line =
        CLine("log").With("level", std::to_string(level)).With("source", source).With("text", text);
    for (const LineSink& sink : sinks_) {
        sink(line);
    }
}

}  // namespace Kyr::Lab::DevHost
