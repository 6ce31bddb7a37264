// The product's registration on this computer, or of the run directory where the port layer is the
// operating system: what its installer leaves for others to find.
//
// Threads: any. It stays when this program ends; a product that does not run is still installed.
// Errors: std::runtime_error when it cannot be changed.
#pragma once

#include <cstdint>

namespace Kyr::Lab::SimProduct {

/// The build that is registered when nobody asks for another: one that gives every kind of record.
constexpr std::int32_t kUsualBuild = 5600;

/// Registers that build in place of any other.
void Install(std::int32_t build);
void Uninstall();

}  // namespace Kyr::Lab::SimProduct
