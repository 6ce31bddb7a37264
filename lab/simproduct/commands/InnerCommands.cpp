#include "lab/simproduct/commands/InnerCommands.h"

namespace Kyr::Lab::SimProduct {

CInnerCommands::CInnerCommands(const std::vector<InnerCommandGroup>& groups) {
    for (const InnerCommandGroup& group : groups) {
        rows_.insert(rows_.end(), group.begin(), group.end());
    }
}

InnerReply CInnerCommands::Perform(const InnerAction& action) const {
    const InnerCommand* const row = Find(action.inner.command);
    return row == nullptr ? ErrorReply(kStatusUnknownCommand) : row->handler(action);
}

const char* CInnerCommands::NameOf(std::uint32_t number) const {
    const InnerCommand* const row = Find(number);
    return row == nullptr ? "unknown" : row->name;
}

const InnerCommand* CInnerCommands::Find(std::uint32_t number) const {
    for (const InnerCommand& row : rows_) {
        if (row.number == number) {
            return &row;
        }
    }
    return nullptr;
}

}  // namespace Kyr::Lab::SimProduct
