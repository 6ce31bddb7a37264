#include "lab/devhost/printing/OnDemand.h"

#include <utility>

namespace Kyr::Lab::DevHost {

const std::set<std::string>& KindsOnDemand() {
    static const std::set<std::string> kinds{"mapper",   "message",   "read", "record",
                                             "resource", "subscribe", "write"};
    return kinds;
}

LineSink OnDemand(LineSink events, std::set<std::string> asked) {
    return [events = std::move(events), asked = std::move(asked)](const CLine& line) {
        if (KindsOnDemand().count(line.Kind()) == 0 || asked.count(line.Kind()) != 0) {
            events(line);
        }
    };
}

}  // namespace Kyr::Lab::DevHost
