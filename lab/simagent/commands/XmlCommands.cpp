#include "lab/simagent/commands/XmlCommands.h"

namespace Kyr::Lab::SimAgent {

namespace {

Hashes HashesOf(const XmlCall& xml) {
    return {xml.Find("HASH_SHA1"), xml.Find("HASH_SHA2_256")};
}

void KillProcess(const XmlCall& xml, CProduct& product) {
    product.KillProcess(xml.Find("PID"), HashesOf(xml), xml.Find("USERDATA").value_or(""));
}

void BlockExecutable(const XmlCall& xml, CProduct& product) {
    product.BlockExecutable(HashesOf(xml), xml.Find("DELETE") == "1",
                            xml.Find("USERDATA").value_or(""));
}

struct FunctionRow {
    const char* name;
    void (*handler)(const XmlCall&, CProduct&);
};

constexpr FunctionRow kFunctions[] = {
    {"KILL_PROCESS_BY_PID", KillProcess},
    {"BLOCK_EXECUTABLE_BY_HASH", BlockExecutable},
};

InnerReply PerformFunction(const XmlCall& xml, CProduct& product) {
    for (const FunctionRow& row : kFunctions) {
        if (row.name == xml.function) {
            row.handler(xml, product);
            return {};
        }
    }
    return ErrorReply(kStatusUnknownFunction);
}

}  // namespace

InnerCommandGroup XmlCommands(CProduct& product) {
    return {{kXmlCommand, "xml", [&product](const InnerAction& action) {
                 return PerformFunction(action.xml, product);
             }}};
}

}  // namespace Kyr::Lab::SimAgent
