// The Ov agent's registration on this computer, as its installer would make it.
//
// One at a time in a process; while it exists the process looks for the product nowhere else. Not
// there until Install is called; taken back with the object.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

namespace Kyr::Test {

class CInstalledProduct {
  public:
    CInstalledProduct();
    explicit CInstalledProduct(std::int32_t build) : CInstalledProduct() { Install(build); }
    CInstalledProduct(const CInstalledProduct&) = delete;
    CInstalledProduct& operator=(const CInstalledProduct&) = delete;
    ~CInstalledProduct();

    void Install(std::int32_t build);
    /// Registers a build that is no number.
    void InstallWithText(const std::string& text = "5600 or so");
    /// Leaves what belongs to the product besides its build.
    void RemoveBuild();

  private:
    struct Place;

    const std::unique_ptr<Place> place_;
};

}  // namespace Kyr::Test
