#include "lab/devhost/printing/OnDemand.h"

#include <utility>
#include <vector>

#include <boost/algorithm/string/classification.hpp>
#include <boost/algorithm/string/split.hpp>

#include "lab/common/CommandWords.h"

namespace Kyr::Lab::DevHost {

namespace {

const std::set<std::string>& KindsOnDemand() {
    static const std::set<std::string> kinds{"mapper",   "message",   "read", "record",
                                             "resource", "subscribe", "write"};
    return kinds;
}

}  // namespace

std::set<std::string> ParseDemand(const std::string& kinds) {
    const std::vector<std::string> known(KindsOnDemand().begin(), KindsOnDemand().end());
    std::set<std::string> asked;
    boost::algorithm::split(asked, kinds, boost::algorithm::is_any_of(","));
    for (const std::string& kind : asked) {
        PlaceOf(kind, known, "kind told on demand");
    }
    return asked;
}

LineSink OnDemand(LineSink events, std::set<std::string> asked) {
    return [events = std::move(events), asked = std::move(asked)](const CLine& line) {
        if (KindsOnDemand().count(line.Kind()) == 0 || asked.count(line.Kind()) != 0) {
            events(line);
        }
    };
}

}  // namespace Kyr::Lab::DevHost
