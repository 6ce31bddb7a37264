#include <csignal>
#include <gtest/gtest.h>
#include <string>
#include <unistd.h>

#include "lab/common/CommandInput.h"

namespace Kyr::Lab {
namespace {

using Kind = CCommandInput::Kind;

/// Puts a pipe in the place of standard input.
class CommandInputTest : public ::testing::Test {
  protected:
    CommandInputTest() : saved_(dup(STDIN_FILENO)) {
        int ends[2];
        EXPECT_EQ(0, pipe(ends));
        dup2(ends[0], STDIN_FILENO);
        close(ends[0]);
        writer_ = ends[1];
        sigemptyset(&savedMask_);
        pthread_sigmask(SIG_SETMASK, nullptr, &savedMask_);
    }

    ~CommandInputTest() override {
        Close();
        dup2(saved_, STDIN_FILENO);
        close(saved_);
        pthread_sigmask(SIG_SETMASK, &savedMask_, nullptr);
    }

    void Write(const std::string& text) {
        ASSERT_EQ(static_cast<ssize_t>(text.size()), write(writer_, text.data(), text.size()));
    }

    void Close() {
        if (writer_ >= 0) {
            close(writer_);
            writer_ = -1;
        }
    }

    static void ExpectLine(const std::string& line, const CCommandInput::CEvent& event) {
        EXPECT_EQ(Kind::Line, event.kind);
        EXPECT_EQ(line, event.line);
    }

  private:
    const int saved_;
    int writer_;
    sigset_t savedMask_;
};

TEST_F(CommandInputTest, LinesComeOneByOne) {
    CCommandInput input;
    Write("start one\n\nquit\n");

    ExpectLine("start one", input.Next());
    ExpectLine("", input.Next());
    ExpectLine("quit", input.Next());
}

TEST_F(CommandInputTest, LastLineMayLackItsEnd) {
    CCommandInput input;
    Write("quit");
    Close();

    ExpectLine("quit", input.Next());
    EXPECT_EQ(Kind::EndOfInput, input.Next().kind);
}

TEST_F(CommandInputTest, TerminationIsReported) {
    CCommandInput input;
    std::raise(SIGTERM);

    EXPECT_EQ(Kind::Terminate, input.Next().kind);
}

TEST_F(CommandInputTest, AfterTheEndOfInputTerminationIsReported) {
    CCommandInput input;
    Close();
    EXPECT_EQ(Kind::EndOfInput, input.Next().kind);
    std::raise(SIGINT);

    EXPECT_EQ(Kind::Terminate, input.Next().kind);
}

}  // namespace
}  // namespace Kyr::Lab
