#include "lab/simproduct/state/Registration.h"

#include <charconv>
#include <stdexcept>

namespace Kyr::Lab::SimProduct {

IRegistration::~IRegistration() = default;

std::int32_t ParseBuild(const std::string& text) {
    std::int32_t build = 0;
    const char* const end = text.data() + text.size();
    const auto read = std::from_chars(text.data(), end, build);
    if (read.ec != std::errc() || read.ptr != end) {
        throw std::invalid_argument("'" + text + "' is no build number");
    }
    return build;
}

}  // namespace Kyr::Lab::SimProduct
