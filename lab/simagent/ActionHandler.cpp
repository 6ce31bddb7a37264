#include "lab/simagent/ActionHandler.h"

namespace Kyr::Lab::SimAgent {

namespace {

using Handler = CReply (*)(const CAction&, CProduct&);

CHashes HashesOf(const CXmlRequest& xml) {
    return {xml.Find("HASH_SHA1"), xml.Find("HASH_SHA2_256")};
}

CReply KillProcess(const CAction& action, CProduct& product) {
    product.KillProcess(action.xml.Find("PID"), HashesOf(action.xml),
                        action.xml.Find("USERDATA").value_or(""));
    return {};
}

CReply BlockExecutable(const CAction& action, CProduct& product) {
    product.BlockExecutable(HashesOf(action.xml), action.xml.Find("DELETE") == "1",
                            action.xml.Find("USERDATA").value_or(""));
    return {};
}

struct CFunctionRow {
    const char* name;
    Handler handler;
};

constexpr CFunctionRow kFunctions[] = {
    {"KILL_PROCESS_BY_PID", KillProcess},
    {"BLOCK_EXECUTABLE_BY_HASH", BlockExecutable},
};

CReply ErrorReply(std::uint32_t status) {
    CReply reply;
    reply.status = status;
    return reply;
}

CReply PerformFunction(const CAction& action, CProduct& product) {
    for (const CFunctionRow& row : kFunctions) {
        if (row.name == action.xml.function) {
            return row.handler(action, product);
        }
    }
    return ErrorReply(kStatusUnknownFunction);
}

struct CCommandRow {
    std::uint32_t command;
    const char* name;
    Handler handler;
};

constexpr CCommandRow kCommands[] = {
    {kXmlCommand, "xml", PerformFunction},
};

const CCommandRow* FindCommand(std::uint32_t command) {
    for (const CCommandRow& row : kCommands) {
        if (row.command == command) {
            return &row;
        }
    }
    return nullptr;
}

}  // namespace

CReply Perform(const CAction& action, CProduct& product) {
    const CCommandRow* const row = FindCommand(action.inner.command);
    return row == nullptr ? ErrorReply(kStatusUnknownCommand) : row->handler(action, product);
}

const char* NameOfInnerCommand(std::uint32_t command) {
    const CCommandRow* const row = FindCommand(command);
    return row == nullptr ? "unknown" : row->name;
}

}  // namespace Kyr::Lab::SimAgent
