#include "probe/session/Registration.h"

#include <exception>

#include "module/ProductBuildReader.h"

namespace Kyr::Probe {

Registration ReadRegistration() {
    try {
        return {Connectors::OvAgentConnector::SystemProductBuildReader()->Read(), {}};
    } catch (const std::exception& problem) {
        return {std::nullopt, problem.what()};
    }
}

}  // namespace Kyr::Probe
