// One line of the product's protection status, as a status reply carries it.
//
// A plain value. The resource ids are opaque numbers that the management side resolves to texts.
#pragma once

#include <cstdint>
#include <optional>

namespace Kyr::Connectors::Common {

struct CProtectionStatusRecord {
    /// The product's code: 0 fine, 1, 2, or kNotAvailable.
    std::uint32_t status = 0;
    /// Absent, like everything below, when the status is kNotAvailable.
    std::optional<std::int64_t> severity;
    std::optional<std::uint64_t> statusTextId;
    std::optional<std::uint64_t> categoryId;
    std::optional<std::uint64_t> statusId;
    /// Absent, too, when the product gives no description.
    std::optional<std::uint64_t> descriptionId;

    static constexpr std::uint32_t kNotAvailable = 0xFFFFFFFF;
};

}  // namespace Kyr::Connectors::Common
