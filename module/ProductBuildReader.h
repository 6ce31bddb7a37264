// Which build of the Ov agent is installed on this computer.
//
// Threads: any. Reads afresh each time and keeps nothing; nothing is ever written.
#pragma once

#include <cstdint>
#include <optional>

#include <boost/shared_ptr.hpp>

namespace Kyr::Connectors::OvAgentConnector {

class IProductBuildReader {
  public:
    virtual ~IProductBuildReader();
    /// The registered build, a signed 32-bit number; none when the product is not installed.
    /// Throws std::exception when what is registered as the build is no number, or cannot be read.
    virtual std::optional<std::int64_t> Read() = 0;
};

/// Reads what the product's installer registered: on Windows the registry value "build", elsewhere
/// the file of the port layer's run directory that stands for it.
boost::shared_ptr<IProductBuildReader> SystemProductBuildReader();

}  // namespace Kyr::Connectors::OvAgentConnector
