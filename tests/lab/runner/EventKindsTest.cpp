// The programs' READMEs list the same kinds and keys as the table by which scenarios are read.
#include <gmock/gmock.h>
#include <regex>
#include <set>
#include <sstream>

#include "lab/runner/EventKinds.h"
#include "lab/runner/ReadFile.h"

namespace Kyr::Lab::Runner {
namespace {

/// The rows of the README's table of events: "kind key key".
std::set<std::string> KindsInReadme(const std::string& folder) {
    static const std::regex row(R"(\| `([a-z-]+)` \| ((`[^`]+` ?)+)\| .* \|)");
    std::set<std::string> kinds;
    std::istringstream lines(ReadFile(KYR_LAB_SOURCES "/" + folder + "/README.md"));
    std::string line;
    bool table = false;
    while (std::getline(lines, line)) {
        table = line == "| kind | keys | says |" || (table && !line.empty());
        std::smatch match;
        if (table && std::regex_match(line, match, row)) {
            const std::string keys = std::regex_replace(match[2].str(), std::regex("`| $"), "");
            kinds.insert(match[1].str() + " " + keys);
        }
    }
    return kinds;
}

std::set<std::string> KindsInTable(const std::string& actor) {
    std::set<std::string> kinds;
    for (const EventKind& kind : EventKinds()) {
        if (kind.actor == actor) {
            kinds.insert(std::string(kind.kind) + " " + std::string(kind.keys));
        }
    }
    return kinds;
}

TEST(EventKindsTest, ReadmesOfTheProgramsListTheSameOnes) {
    EXPECT_EQ(KindsInReadme("devhost"), KindsInTable("host"));
    EXPECT_EQ(KindsInReadme("simproduct"), KindsInTable("product"));
}

}  // namespace
}  // namespace Kyr::Lab::Runner
