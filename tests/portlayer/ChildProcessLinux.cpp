#include <gtest/gtest.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/portlayer/ChildProcess.h"

namespace Kyr::Test {

struct CChildProcess::System {
    int id = -1;
    int toParent[2] = {-1, -1};
    int toChild[2] = {-1, -1};
};

CChildProcess::CChildProcess(const std::function<void(CChildProcess&)>& body)
    : system_(std::make_unique<System>()) {
    EXPECT_EQ(::pipe(system_->toParent), 0);
    EXPECT_EQ(::pipe(system_->toChild), 0);
    system_->id = ::fork();
    if (system_->id == 0) {
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        body(*this);
        Exit(testing::Test::HasFailure() ? 1 : 0);
    }
}

CChildProcess::~CChildProcess() {
    Kill();
}

bool CChildProcess::IsStartedAgain() {
    return false;
}

void CChildProcess::AwaitReady() {
    char byte = 0;
    EXPECT_EQ(::read(system_->toParent[0], &byte, 1), 1);
}

void CChildProcess::Go() {
    EXPECT_EQ(::write(system_->toChild[1], "g", 1), 1);
}

void CChildProcess::Kill() {
    if (system_->id > 0) {
        ::kill(system_->id, SIGKILL);
        ExitCode();
    }
}

int CChildProcess::ExitCode() {
    int status = 0;
    ::waitpid(system_->id, &status, 0);
    system_->id = -1;
    for (const int end :
         {system_->toParent[0], system_->toParent[1], system_->toChild[0], system_->toChild[1]}) {
        ::close(end);
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

void CChildProcess::Ready() {
    EXPECT_EQ(::write(system_->toParent[1], "r", 1), 1);
}

void CChildProcess::AwaitGo() {
    char byte = 0;
    EXPECT_EQ(::read(system_->toChild[0], &byte, 1), 1);
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

std::uint32_t CurrentProcessId() {
    return static_cast<std::uint32_t>(::getpid());
}

}  // namespace Kyr::Test
