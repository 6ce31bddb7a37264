#include <gmock/gmock.h>
#include <sstream>
#include <stdexcept>
#include <string>

#include "tests/probe/explain/LoggedLife.h"

namespace Kyr::Probe {
namespace {

using namespace Kyr::Probe::Test;
using namespace testing;

TEST(LineFormsTest, LineOfAnotherHostIsReadFromTheConnectorsNameOn) {
    HostLog log;
    std::istringstream input(
        "2026-11-23 [info] COvAgentConnectorModule: Connecting to product\r\n"
        "4 COvAgentConnectorModule: Policy is damaged: content does not parse\n"
        "something else\n");
    ReadHostLog(input, "host.log", log);
    const Story story = Tell(log);
    EXPECT_EQ(story.lines, 2U);
    EXPECT_EQ(story.others, 1U);
    EXPECT_TRUE(story.connecting);
    EXPECT_THAT(story.problems, SizeIs(1));
}

TEST(LineFormsTest, TextIsFoundBehindWhateverAHostWritesBehindTheName) {
    constexpr const char* kLines[] = {
        "COvAgentConnectorModule Policy is damaged: x",
        "[COvAgentConnectorModule] ERROR: Policy is damaged: x",
        "12:00 COvAgentConnectorModule [thread 12] (4) - Policy is damaged: x",
        "level=4 source=COvAgentConnectorModule text=\"Policy is damaged: x\"",
        R"({"source":"COvAgentConnectorModule","level":4,"text":"Policy is damaged: x"})",
    };
    for (const char* const line : kLines) {
        const auto read = ReadHostLine(line);
        ASSERT_TRUE(read) << line;
        EXPECT_THAT(read->text, StartsWith("Policy is damaged: x")) << line;
        EXPECT_EQ(read->time, "");
    }
}

TEST(LineFormsTest, QuotedTextIsReadWithItsQuotes) {
    const auto read = ReadHostLine(
        R"(source=COvAgentConnectorModule text="XML request: <NODE NAME=\"USERDATA\" />" at=1)");
    ASSERT_TRUE(read);
    EXPECT_EQ(read->text, R"(XML request: <NODE NAME="USERDATA" />)");
}

TEST(LineFormsTest, TextInTheMiddleOfAnotherOneIsNotRead) {
    EXPECT_EQ(ReadHostLine("kernel: Policy is damaged: x"), std::nullopt);
    const auto foreign = ReadHostLine("COvAgentConnectorModule: disk full. Policy is damaged: x");
    ASSERT_TRUE(foreign);
    EXPECT_EQ(foreign->text, "disk full. Policy is damaged: x");
}

TEST(LineFormsTest, LineOfAnotherModuleOfTheLabsHostIsNobodys) {
    EXPECT_EQ(
        ReadHostLine("12:00:00.000 log level=4 source=CAnother text=\"Policy is damaged: x\""),
        std::nullopt);
}

}  // namespace
}  // namespace Kyr::Probe
