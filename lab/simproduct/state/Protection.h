// What the product says about its protection: components with a status number each, as the XML text
// of a status reply. A component that the configuration turns off (`<name>=off`) is reported with
// status 2, whatever its own status is.
//
// Threads: any.
// Ownership: the configuration must outlive this.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <boost/thread/mutex.hpp>

#include "lab/simproduct/state/Configuration.h"

namespace Kyr::Lab::SimProduct {

// Statuses of a component (protocol); others are not known to anybody.
constexpr std::uint32_t kProtectionFine = 0;
constexpr std::uint32_t kProtectionOff = 2;

/// The numbers that are no statuses are texts which the management side resolves; those of this
/// product begin with 0x07100000.
struct Component {
    std::string name;
    std::uint32_t status = kProtectionFine;
    std::uint64_t category = 0x0710000000000300;
    std::uint64_t statusText = 0x0710000000000310;
    std::optional<std::uint64_t> description;
};

class CProtection {
  public:
    /// Begins with the components `files` and `network`, which are fine.
    explicit CProtection(const CConfiguration& configuration);

    /// The component of that name, or a new one.
    Component Named(const std::string& name) const;

    /// Adds a component, or replaces the one of that name.
    void Set(const Component& component);

    /// The components as they are reported, in the order in which they were added.
    std::vector<Component> Reported() const;

    /// Makes every report this text, or the components again.
    void ReportInstead(std::optional<std::string> text);

    /// The text of a status reply.
    std::string Report() const;

  private:
    const CConfiguration& configuration_;  // borrowed

    mutable boost::mutex mutex_;
    std::vector<Component> components_;   // guarded by mutex_
    std::optional<std::string> instead_;  // guarded by mutex_
};

}  // namespace Kyr::Lab::SimProduct
