#include "tests/endurance/ProcessFigures.h"

#include <filesystem>
#include <fstream>
#include <malloc.h>
#include <sstream>

#include "portlayer/LiveCounters.h"

namespace Kyr::Endurance {

namespace {

/// The number behind `key` in the process's status, which ends in a colon there.
std::uint64_t StatusNumber(const std::string& key) {
    std::ifstream status("/proc/self/status");
    std::string line;
    while (std::getline(status, line)) {
        if (line.compare(0, key.size() + 1, key + ":") == 0) {
            return std::stoull(line.substr(key.size() + 1));
        }
    }
    return 0;
}

std::uint64_t CountDescriptors() {
    std::uint64_t count = 0;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        static_cast<void>(entry);
        ++count;
    }
    return count - 1;  // the one that the listing itself needs
}

}  // namespace

std::string ProcessFigures::Held() const {
    std::ostringstream text;
    text << "descriptors " << descriptors << ", threads " << threads;
    if (!live.empty()) {
        text << ", " << live;
    }
    return text.str();
}

ProcessFigures ReadProcessFigures() {
    ::malloc_trim(0);
    ProcessFigures figures;
    figures.residentKiB = StatusNumber("VmRSS");
    figures.descriptors = CountDescriptors();
    figures.threads = StatusNumber("Threads");
    figures.live = PortLayer::LiveObjects();
    return figures;
}

std::uint64_t PeakResidentKiB() {
    return StatusNumber("VmHWM");
}

void ForgetPeakResident() {
    // The kernel's word for "the peak anew".
    std::ofstream("/proc/self/clear_refs") << 5;
}

}  // namespace Kyr::Endurance
