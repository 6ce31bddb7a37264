#include <csignal>
#include <gtest/gtest.h>
#include <string>

#include "lab/common/CommandInput.h"
#include "tests/lab/common/InputPipe.h"

namespace Kyr::Lab {
namespace {

using Kind = CCommandInput::Kind;

class CommandInputTest : public ::testing::Test {
  protected:
    static void ExpectLine(const std::string& line, const CCommandInput::Event& event) {
        EXPECT_EQ(Kind::kLine, event.kind);
        EXPECT_EQ(line, event.line);
    }

    Kyr::Test::CInputPipe pipe_;
};

TEST_F(CommandInputTest, LinesComeOneByOneAndThenTheEnd) {
    CCommandInput input;
    pipe_.Write("start one\r\n\nquit");
    pipe_.Close();

    ExpectLine("start one", input.Next());
    ExpectLine("", input.Next());
    ExpectLine("quit", input.Next());
    EXPECT_EQ(Kind::kEndOfInput, input.Next().kind);
}

TEST_F(CommandInputTest, TerminationDoesNotWaitForLinesThatHaveBeenRead) {
    CCommandInput input;
    pipe_.Write("one\ntwo\n");
    ExpectLine("one", input.Next());
    EXPECT_FALSE(input.IsAskedToTerminate());
    std::raise(SIGTERM);

    EXPECT_TRUE(input.IsAskedToTerminate());
    EXPECT_EQ(Kind::kTerminate, input.Next().kind);
    EXPECT_FALSE(input.IsAskedToTerminate());
    ExpectLine("two", input.Next());
}

TEST_F(CommandInputTest, WakingIsReportedOnce) {
    CCommandInput input;
    input.Wake();
    input.Wake();
    EXPECT_EQ(Kind::kWoken, input.Next().kind);
    pipe_.Write("quit\n");

    ExpectLine("quit", input.Next());
}

TEST_F(CommandInputTest, AfterTheEndOfInputTerminationAndWakingAreReported) {
    CCommandInput input;
    pipe_.Close();
    EXPECT_EQ(Kind::kEndOfInput, input.Next().kind);
    std::raise(SIGINT);
    EXPECT_EQ(Kind::kTerminate, input.Next().kind);
    input.Wake();

    EXPECT_EQ(Kind::kWoken, input.Next().kind);
}

}  // namespace
}  // namespace Kyr::Lab
