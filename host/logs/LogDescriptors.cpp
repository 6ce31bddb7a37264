#include <algorithm>
#include <atomic>
#include <stdexcept>
#include <string>

#include <boost/make_shared.hpp>

#include "host/logs/LogDescriptorMapOverride.h"
#include "host/logs/LogDescriptorTable.h"

namespace Kyr::Common::Logs {

namespace {

std::atomic<const CLogDescriptorMap*> instead{nullptr};

}  // namespace

CSymbolDescriptor::CSymbolDescriptor(std::int32_t symbol, SymbolDataType dataType,
                                     std::vector<std::int32_t> tags, std::uint32_t otlLength)
    : symbol_(symbol), dataType_(dataType), tags_(std::move(tags)), otlLength_(otlLength) {}

CSymbolDescriptor::CSymbolDescriptor(std::int32_t symbol, SymbolDataType dataType,
                                     std::vector<std::int32_t> tags, std::string name)
    : symbol_(symbol), dataType_(dataType), tags_(std::move(tags)), name_(std::move(name)) {}

bool CSymbolDescriptor::HasTag(std::int32_t tag) const {
    return std::find(tags_.begin(), tags_.end(), tag) != tags_.end();
}

CLogDescriptor::CLogDescriptor(LogType logType, bool multiProduct,
                               const std::vector<CSymbolDescriptor>& symbols)
    : logType_(logType), multiProduct_(multiProduct) {
    symbols_.reserve(symbols.size());
    for (const CSymbolDescriptor& symbol : symbols) {
        symbols_.push_back(boost::make_shared<const CSymbolDescriptor>(symbol));
    }
}

CLogDescriptor::SymbolDescriptors CLogDescriptor::GetDeltaSymbolsByTag(std::int32_t tag) const {
    SymbolDescriptors tagged;
    std::copy_if(symbols_.begin(), symbols_.end(), std::back_inserter(tagged),
                 [tag](const auto& symbol) { return symbol->HasTag(tag); });
    return tagged;
}

boost::shared_ptr<const CSymbolDescriptor> CLogDescriptor::GetSymbolDescriptor(
    std::int32_t symbol) const {
    const auto found = std::find_if(
        symbols_.begin(), symbols_.end(),
        [symbol](const auto& candidate) { return candidate->GetDeltaSymbolType() == symbol; });
    if (found == symbols_.end()) {
        throw std::runtime_error("CLogDescriptor: Log has no symbol " + std::to_string(symbol));
    }
    return *found;
}

CLogDescriptorMap::CLogDescriptorMap(const std::vector<CLogMessageDescriptor>& messages,
                                     const std::vector<CLogDescriptor>& logs) {
    for (const CLogMessageDescriptor& message : messages) {
        for (const Kernel::MessageType type :
             {message.GetEventMessageType(), message.GetDeltaMessageType(),
              message.GetStatusMessageType()}) {
            if (type != kNoMessageType) {
                messages_.emplace(type, message);
            }
        }
    }
    for (const CLogDescriptor& log : logs) {
        logs_.emplace(log.GetLogType(), boost::make_shared<const CLogDescriptor>(log));
        for (const auto& symbol : log.GetDeltaSymbols()) {
            symbols_.emplace(symbol->GetDeltaSymbolType(), log.GetLogType());
        }
    }
}

const CLogDescriptorMap& CLogDescriptorMap::Instance() {
    if (const CLogDescriptorMap* map = instead.load(std::memory_order_acquire)) {
        return *map;
    }
    // Never destroyed: logs may be built until the process has ended.
    static const auto& standard = *new CLogDescriptorMap(LogMessageTable(), LogTable());
    return standard;
}

bool CLogDescriptorMap::HasSymbol(std::int32_t symbol) const {
    return symbols_.count(symbol) != 0;
}

LogType CLogDescriptorMap::GetLogTypeBySymbol(std::int32_t symbol) const {
    const auto found = symbols_.find(symbol);
    if (found == symbols_.end()) {
        throw std::runtime_error("CLogDescriptorMap: Symbol " + std::to_string(symbol) +
                                 " belongs to no log");
    }
    return found->second;
}

const CLogMessageDescriptor& CLogDescriptorMap::GetMessageDescriptor(
    Kernel::MessageType type) const {
    static const CLogMessageDescriptor nothing;
    const auto found = messages_.find(type);
    return found == messages_.end() ? nothing : found->second;
}

boost::shared_ptr<const CLogDescriptor> CLogDescriptorMap::GetLogDescriptor(LogType type) const {
    const auto found = logs_.find(type);
    if (found == logs_.end()) {
        throw std::runtime_error("CLogDescriptorMap: Log type " + std::to_string(type) +
                                 " has no descriptor");
    }
    return found->second;
}

boost::shared_ptr<const CLogDescriptor> CLogDescriptorMap::GetLogDescriptor(
    Kernel::MessageType type) const {
    return GetLogDescriptor(GetMessageDescriptor(type));
}

boost::shared_ptr<const CLogDescriptor> CLogDescriptorMap::GetLogDescriptor(
    const CLogMessageDescriptor& descriptor) const {
    return GetLogDescriptor(descriptor.GetDeltaLogType());
}

CLogDescriptorMapOverride::CLogDescriptorMapOverride(const CLogDescriptorMap& map)
    : previous_(instead.exchange(&map)) {}
CLogDescriptorMapOverride::~CLogDescriptorMapOverride() {
    instead.store(previous_);
}

}  // namespace Kyr::Common::Logs
