#include "hostprobe/Report.h"

#include <exception>
#include <utility>

namespace Kyr::HostProbe {

namespace {

struct VerdictRow {
    const char* name;
    int level;  // of the host's log
};

constexpr VerdictRow kVerdicts[] = {{"fine", 2}, {"doubtful", 3}, {"WRONG", 4}, {"not tried", 3}};

const VerdictRow& RowOf(Verdict verdict) {
    return kVerdicts[static_cast<int>(verdict)];
}

}  // namespace

void CReport::UseLog(boost::shared_ptr<Common::Kernel::ILoggerResource> log) {
    const Base::CLock lock(mutex_);
    log_ = std::move(log);
}

void CReport::Tell(Verdict verdict, const std::string& point, const std::string& detail) {
    {
        const Base::CLock lock(mutex_);
        ++counts_[static_cast<int>(verdict)];
    }
    Write(std::string(RowOf(verdict).name) + " " + point + ": " + detail, RowOf(verdict).level);
}

void CReport::Judge(bool fine, const std::string& point, const std::string& whenFine,
                    const std::string& whenWrong) {
    Tell(fine ? Verdict::kFine : Verdict::kWrong, point, fine ? whenFine : whenWrong);
}

void CReport::Finish() {
    std::string text = "end: ";
    {
        const Base::CLock lock(mutex_);
        if (finished_) {
            return;
        }
        finished_ = true;
        const int points = counts_[0] + counts_[1] + counts_[2] + counts_[3];
        text += std::to_string(points) + " points: " + std::to_string(counts_[0]) + " fine, " +
                std::to_string(counts_[1]) + " doubtful, " + std::to_string(counts_[2]) +
                " wrong, " + std::to_string(counts_[3]) + " not tried";
    }
    Write(text, 2);
}

void CReport::Write(const std::string& text, int level) {
    boost::shared_ptr<Common::Kernel::ILoggerResource> log;
    {
        const Base::CLock lock(mutex_);
        stream_ << "HostProbe: " << text << std::endl;
        log = log_;
    }
    if (!log) {
        return;
    }
    try {
        log->Log(text, level, "HostProbe");
        return;
    } catch (...) {
        // Told below, where it does not come here again.
    }
    const Base::CLock lock(mutex_);
    log_.reset();
    if (!std::exchange(logFailed_, true)) {
        ++counts_[static_cast<int>(Verdict::kWrong)];
        stream_ << "HostProbe: WRONG log-lines: the log has thrown an exception at level " << level
                << ", and gets no more lines" << std::endl;
    }
}

std::string CaughtText() {
    try {
        throw;
    } catch (const std::exception& problem) {
        return problem.what();
    } catch (...) {
        return "something that is no std::exception";
    }
}

}  // namespace Kyr::HostProbe
