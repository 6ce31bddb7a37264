#include <gmock/gmock.h>

#include "lab/devhost/typed/HostCommands.h"
#include "tests/lab/common/LineList.h"

namespace Kyr::Test {
namespace {

using Lab::DevHost::Failure;
using ::testing::ElementsAre;
using ::testing::StartsWith;

class HostCommandsTest : public ::testing::Test {
  protected:
    std::vector<std::string> Type(const std::string& line) {
        console_.Execute(line);
        return events_.Take();
    }

    Lab::CLineList events_;
    Lab::DevHost::CFailures failures_{events_.Sink()};
    Lab::CConsole console_{{FailureCommands(failures_)}, events_.Sink()};
};

TEST_F(HostCommandsTest, FaultsAreAddedAndListed) {
    EXPECT_THAT(
        Type("fail publish for=2"),
        ElementsAre("answer command=fail fault=\"publish for=2\"", "answer command=fail faults=1"));
    EXPECT_THAT(Type("fail read"), ElementsAre("answer command=fail fault=read",
                                               "answer command=fail fault=\"publish for=2\"",
                                               "answer command=fail faults=2"));
    EXPECT_THAT(Type("fail"), ::testing::SizeIs(3));
    EXPECT_THAT(Type("fail read of=\"a key\""),
                ::testing::Contains("answer command=fail fault=\"read of=a key\""));
    EXPECT_FALSE(failures_.Take(Failure::kRead, "key"));
    EXPECT_TRUE(failures_.Take(Failure::kRead, "a key"));
    EXPECT_TRUE(failures_.Take(Failure::kPublish, "message"));
    EXPECT_FALSE(failures_.Take(Failure::kLog, "line"));
}

TEST_F(HostCommandsTest, MendedFaultIsOver) {
    Type("fail write");
    Type("fail log");
    EXPECT_THAT(Type("mend write"),
                ElementsAre("answer command=mend fault=log", "answer command=mend faults=1"));
    EXPECT_FALSE(failures_.Take(Failure::kWrite, "key"));
    EXPECT_TRUE(failures_.Take(Failure::kLog, "line"));
}

TEST_F(HostCommandsTest, WordsThatMakeNoFaultAreRefused) {
    for (const char* line : {"fail bus", "fail read for=0", "fail read for=x", "fail read twice"}) {
        EXPECT_THAT(Type(line), ElementsAre(StartsWith("error command=fail "))) << line;
    }
    for (const char* line : {"mend", "mend bus", "mend read now"}) {
        EXPECT_THAT(Type(line), ElementsAre(StartsWith("error command=mend "))) << line;
    }
    EXPECT_THAT(failures_.List(), ::testing::IsEmpty());
}

}  // namespace
}  // namespace Kyr::Test
