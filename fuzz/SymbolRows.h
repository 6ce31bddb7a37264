// What both fuzz targets of symbol rows share.
#pragma once

#include <cstddef>
#include <exception>
#include <google/protobuf/stubs/logging.h>

#include "host/logs/LogDescriptorMapOverride.h"
#include "logs/SymbolContainer.h"

namespace Kyr::Fuzz {

// Longer inputs only make the linear look-up slow.
constexpr std::size_t kLongestInput = 16384;

inline void Check(bool holds) {
    if (!holds) {
        std::terminate();
    }
}

/// While it lives, symbol 10 may have 10 bytes of text, and the protobuf library keeps silent about
/// texts that are no UTF-8.
class CSymbolRowEnvironment {
  public:
    CSymbolRowEnvironment() : override_(Limits()) { google::protobuf::SetLogHandler(nullptr); }

  private:
    static const Common::Logs::CLogDescriptorMap& Limits() {
        static const Common::Logs::CLogDescriptorMap map(
            {},
            {{Common::DataDefinition::Logs::TASK, false, {{10, Common::Logs::kString, {}, 10}}}});
        return map;
    }

    Common::Logs::CLogDescriptorMapOverride override_;
};

}  // namespace Kyr::Fuzz
