#include "lab/simproduct/commands/XmlCommands.h"

namespace Kyr::Lab::SimProduct {

namespace {

Hashes HashesOf(const XmlCall& xml) {
    return {xml.Find("HASH_SHA1"), xml.Find("HASH_SHA2_256")};
}

void KillProcess(const XmlCall& xml, CTaskBook& tasks) {
    tasks.KillProcess(xml.Find("PID"), HashesOf(xml), xml.Find("USERDATA").value_or(""));
}

void BlockExecutable(const XmlCall& xml, CTaskBook& tasks) {
    tasks.BlockExecutable(HashesOf(xml), xml.Find("DELETE") == "1",
                          xml.Find("USERDATA").value_or(""));
}

struct FunctionRow {
    const char* name;
    void (*handler)(const XmlCall&, CTaskBook&);
};

constexpr FunctionRow kFunctions[] = {
    {"KILL_PROCESS_BY_PID", KillProcess},
    {"BLOCK_EXECUTABLE_BY_HASH", BlockExecutable},
};

InnerReply PerformFunction(const XmlCall& xml, CTaskBook& tasks) {
    for (const FunctionRow& row : kFunctions) {
        if (row.name == xml.function) {
            row.handler(xml, tasks);
            return {};
        }
    }
    return ErrorReply(kStatusUnknownFunction);
}

}  // namespace

InnerCommandGroup XmlCommands(CTaskBook& tasks) {
    return {{kXmlCommand, "xml",
             [&tasks](const InnerAction& action) { return PerformFunction(action.xml, tasks); }}};
}

}  // namespace Kyr::Lab::SimProduct
