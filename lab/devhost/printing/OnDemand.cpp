#include "lab/devhost/printing/OnDemand.h"

#include <stdexcept>
#include <utility>

#include <boost/algorithm/string/classification.hpp>
#include <boost/algorithm/string/join.hpp>
#include <boost/algorithm/string/split.hpp>

namespace Kyr::Lab::DevHost {

namespace {

const std::set<std::string>& KindsOnDemand() {
    static const std::set<std::string> kinds{"mapper",   "message",   "read", "record",
                                             "resource", "subscribe", "write"};
    return kinds;
}

}  // namespace

std::set<std::string> ParseDemand(const std::string& kinds) {
    std::set<std::string> asked;
    boost::algorithm::split(asked, kinds, boost::algorithm::is_any_of(","));
    for (const std::string& kind : asked) {
        if (KindsOnDemand().count(kind) == 0) {
            throw std::invalid_argument("not told on demand: \"" + kind + "\"; there are " +
                                        boost::algorithm::join(KindsOnDemand(), ", "));
        }
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
