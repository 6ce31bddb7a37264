#include <csignal>
#include <gtest/gtest.h>
#include <unistd.h>

#include "tests/lab/common/InputPipe.h"

namespace Kyr::Test {

struct CInputPipe::State {
    const int saved = dup(STDIN_FILENO);
    int writer = -1;
    sigset_t savedMask{};
};

CInputPipe::CInputPipe() : state_(std::make_unique<State>()) {
    int ends[2];
    EXPECT_EQ(0, pipe(ends));
    dup2(ends[0], STDIN_FILENO);
    close(ends[0]);
    state_->writer = ends[1];
    pthread_sigmask(SIG_SETMASK, nullptr, &state_->savedMask);
}

CInputPipe::~CInputPipe() {
    Close();
    dup2(state_->saved, STDIN_FILENO);
    close(state_->saved);
    pthread_sigmask(SIG_SETMASK, &state_->savedMask, nullptr);
}

void CInputPipe::Write(const std::string& text) {
    ASSERT_EQ(static_cast<ssize_t>(text.size()), write(state_->writer, text.data(), text.size()));
}

void CInputPipe::Close() {
    if (state_->writer >= 0) {
        close(state_->writer);
        state_->writer = -1;
    }
}

}  // namespace Kyr::Test
