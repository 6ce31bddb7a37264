#include "lab/devhost/printing/SymbolNames.h"

#include <algorithm>
#include <iterator>

namespace Kyr::Lab::DevHost {

namespace {

struct CSymbolName {
    std::int32_t symbol;
    const char* name;
};

constexpr CSymbolName kNames[] = {
    // Protection status
    {235, "agent"},
    {241, "severity"},
    {242, "time"},
    {244, "product-type"},
    {245, "product"},
    {246, "category"},
    {247, "status-text"},
    {248, "status"},
    {4298, "description"},
    // Configuration of the product
    {1886, "agent"},
    {1888, "status"},
    {1889, "time"},
    {1891, "product"},
    {1892, "configuration"},
    // Presence of the agent
    {2141, "agent"},
    {2143, "presence"},
    {2144, "time"},
    // Outcome of a task
    {2834, "agent"},
    {2836, "status"},
    {2838, "time"},
    {2842, "task-first"},
    {2844, "task-second"},
    {2846, "task-third"},
    {2848, "outcome"},
    {2850, "severity"},
    {2853, "product"},
    {2913, "description"},
    // Presence of a product
    {3552, "agent"},
    {3554, "presence"},
    {3555, "time"},
    {3559, "product-type"},
    {3560, "product-name"},
    {4429, "product"},
};

}  // namespace

std::string SymbolKey(std::int32_t symbol) {
    const auto* found =
        std::find_if(std::begin(kNames), std::end(kNames),
                     [&](const CSymbolName& candidate) { return candidate.symbol == symbol; });
    const std::string number = std::to_string(symbol);
    return found == std::end(kNames) ? number : number + "-" + found->name;
}

}  // namespace Kyr::Lab::DevHost
