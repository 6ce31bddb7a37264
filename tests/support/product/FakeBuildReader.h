// The product's registration as the module reads it: a build, none, or a failure.
//
// Threads: set while the module does not read.
#pragma once

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>

#include "module/ProductBuildReader.h"

namespace Kyr::Test {

class CFakeBuildReader final : public Connectors::OvAgentConnector::IProductBuildReader {
  public:
    std::optional<std::int64_t> Read() override {
        if (!failure.empty()) {
            throw std::runtime_error(failure);
        }
        return build;
    }

    std::optional<std::int64_t> build = 5600;
    std::string failure;
};

}  // namespace Kyr::Test
