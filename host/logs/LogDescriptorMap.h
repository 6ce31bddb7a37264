// The registry of all log descriptors: which message types are logs, and what they may carry.
//
// One for the whole process, immutable, used by all threads. Tests put another one in its place
// with CLogDescriptorMapOverride.
// Errors: std::runtime_error for a symbol or log type that it does not know.
#pragma once

#include <cstdint>
#include <map>
#include <vector>

#include <boost/shared_ptr.hpp>

#include "host/logs/LogDescriptor.h"
#include "host/logs/LogMessageDescriptor.h"

namespace Kyr::Common::Logs {

class CLogDescriptorMap {
  public:
    static const CLogDescriptorMap& Instance();

    CLogDescriptorMap(const std::vector<CLogMessageDescriptor>& messages,
                      const std::vector<CLogDescriptor>& logs);

    bool HasSymbol(std::int32_t symbol) const;
    LogType GetLogTypeBySymbol(std::int32_t symbol) const;
    /// For a type that is no log, the descriptor that describes nothing.
    const CLogMessageDescriptor& GetMessageDescriptor(Kernel::MessageType type) const;

    boost::shared_ptr<const CLogDescriptor> GetLogDescriptor(LogType type) const;
    boost::shared_ptr<const CLogDescriptor> GetLogDescriptor(Kernel::MessageType type) const;
    /// The descriptor of its delta log type.
    boost::shared_ptr<const CLogDescriptor> GetLogDescriptor(
        const CLogMessageDescriptor& descriptor) const;

  private:
    std::map<Kernel::MessageType, CLogMessageDescriptor> messages_;
    std::map<LogType, boost::shared_ptr<const CLogDescriptor>> logs_;
    std::map<std::int32_t, LogType> symbols_;
};

}  // namespace Kyr::Common::Logs
