#include "lab/simproduct/state/Configuration.h"

#include <sstream>

namespace Kyr::Lab::SimProduct {

std::optional<std::string> CConfiguration::Setting(const std::string& name) const {
    const std::string start = name + '=';
    std::istringstream lines(Text());
    std::optional<std::string> value;
    for (std::string line; std::getline(lines, line);) {
        if (!line.empty() && line.back() == '\r') {
            line.pop_back();
        }
        if (line.compare(0, start.size(), start) == 0) {
            value = line.substr(start.size());
        }
    }
    return value;
}

}  // namespace Kyr::Lab::SimProduct
