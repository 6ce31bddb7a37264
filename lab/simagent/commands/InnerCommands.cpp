#include "lab/simagent/commands/InnerCommands.h"

namespace Kyr::Lab::SimAgent {

CInnerCommands::CInnerCommands(const std::vector<InnerCommandGroup>& groups) {
    for (const InnerCommandGroup& group : groups) {
        rows_.insert(rows_.end(), group.begin(), group.end());
    }
}

CReply CInnerCommands::Perform(const CAction& action) const {
    const CInnerCommand* const row = Find(action.inner.command);
    return row == nullptr ? ErrorReply(kStatusUnknownCommand) : row->handler(action);
}

const char* CInnerCommands::NameOf(std::uint32_t number) const {
    const CInnerCommand* const row = Find(number);
    return row == nullptr ? "unknown" : row->name;
}

const CInnerCommand* CInnerCommands::Find(std::uint32_t number) const {
    for (const CInnerCommand& row : rows_) {
        if (row.number == number) {
            return &row;
        }
    }
    return nullptr;
}

}  // namespace Kyr::Lab::SimAgent
