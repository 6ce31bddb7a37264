// What the host knows of one log type: the symbols that its rows may carry.
//
// Asked by the checks of finished logs, and by whoever shortens texts.
// Immutable after construction; shared by all threads.
#pragma once

#include <cstdint>
#include <vector>

#include <boost/shared_ptr.hpp>

#include "host/logs/SymbolDescriptor.h"
#include "host/proto/logs.pb.h"

namespace Kyr::Common::Logs {

using DataDefinition::Logs::LogType;

class CLogDescriptor {
  public:
    using SymbolDescriptors = std::vector<boost::shared_ptr<const CSymbolDescriptor>>;

    CLogDescriptor(LogType logType, bool multiProduct,
                   const std::vector<CSymbolDescriptor>& symbols);

    LogType GetLogType() const { return logType_; }
    /// Whether several products report the log side by side.
    bool IsLogMultiproduct() const { return multiProduct_; }
    /// In declared order.
    const SymbolDescriptors& GetDeltaSymbols() const { return symbols_; }
    SymbolDescriptors GetDeltaSymbolsByTag(std::int32_t tag) const;
    /// Throws std::runtime_error when the log has no such symbol.
    boost::shared_ptr<const CSymbolDescriptor> GetSymbolDescriptor(std::int32_t symbol) const;

  private:
    LogType logType_;
    bool multiProduct_;
    SymbolDescriptors symbols_;
};

}  // namespace Kyr::Common::Logs
