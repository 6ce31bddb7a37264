#include "lab/devhost/printing/SymbolNames.h"

#include "host/logs/LogDescriptorMap.h"

namespace Kyr::Lab::DevHost {

namespace {

std::string NameOf(std::int32_t symbol) {
    const auto& logs = Common::Logs::CLogDescriptorMap::Instance();
    if (!logs.HasSymbol(symbol)) {
        return "";
    }
    const auto log = logs.GetLogDescriptor(logs.GetLogTypeBySymbol(symbol));
    return log->GetSymbolDescriptor(symbol)->GetName();
}

}  // namespace

std::string SymbolKey(std::int32_t symbol) {
    const std::string number = std::to_string(symbol);
    const std::string name = NameOf(symbol);
    return name.empty() ? number : number + "-" + name;
}

}  // namespace Kyr::Lab::DevHost
