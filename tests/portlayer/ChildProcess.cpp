#include "tests/portlayer/ChildProcess.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Kyr::Test {

CChildProcess::CChildProcess(const std::function<void(CChildProcess&)>& body) {
    EXPECT_EQ(::pipe(toParent_), 0);
    EXPECT_EQ(::pipe(toChild_), 0);
    id_ = ::fork();
    if (id_ == 0) {
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        body(*this);
        Exit(testing::Test::HasFailure() ? 1 : 0);
    }
}

void CChildProcess::AwaitReady() {
    char byte = 0;
    EXPECT_EQ(::read(toParent_[0], &byte, 1), 1);
}

void CChildProcess::Go() {
    EXPECT_EQ(::write(toChild_[1], "g", 1), 1);
}

void CChildProcess::Kill() {
    if (id_ > 0) {
        ::kill(id_, SIGKILL);
        ExitCode();
    }
}

int CChildProcess::ExitCode() {
    int status = 0;
    ::waitpid(id_, &status, 0);
    id_ = -1;
    for (const int end : {toParent_[0], toParent_[1], toChild_[0], toChild_[1]}) {
        ::close(end);
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

void CChildProcess::Ready() {
    EXPECT_EQ(::write(toParent_[1], "r", 1), 1);
}

void CChildProcess::AwaitGo() {
    char byte = 0;
    EXPECT_EQ(::read(toChild_[0], &byte, 1), 1);
}

void CChildProcess::WaitForEver() {
    for (;;) {
        ::pause();
    }
}

void CChildProcess::KillSelf() {
    ::kill(::getpid(), SIGKILL);
    WaitForEver();
}

void CChildProcess::Exit(int code) {
    ::_exit(code);
}

}  // namespace Kyr::Test
