// The product's registration on this computer: what its installer leaves for others to find.
//
// Threads: any. It stays when this program ends; a product that does not run is still installed.
// Errors: std::runtime_error when it cannot be changed.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

namespace Kyr::Lab::SimProduct {

class IRegistration {
  public:
    virtual ~IRegistration();
    /// Registers that build in place of any other.
    virtual void Install(std::int32_t build) = 0;
    virtual void Uninstall() = 0;
};

/// The build that is registered when nobody asks for another: one that gives every kind of record.
constexpr std::int32_t kUsualBuild = 5600;

/// Errors: std::invalid_argument when the text is no signed 32-bit number.
std::int32_t ParseBuild(const std::string& text);

/// That of this computer; of the run directory, where the port layer is the operating system.
std::unique_ptr<IRegistration> SystemRegistration();

}  // namespace Kyr::Lab::SimProduct
