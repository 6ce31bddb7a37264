#define WIN32_LEAN_AND_MEAN
#define NOMINMAX
#include <csignal>
#include <gtest/gtest.h>
#include <windows.h>

#include "tests/lab/common/InputPipe.h"

namespace Kyr::Test {

struct CInputPipe::State {
    const HANDLE saved = GetStdHandle(STD_INPUT_HANDLE);
    HANDLE reader = nullptr;
    HANDLE writer = nullptr;
};

CInputPipe::CInputPipe() : state_(std::make_unique<State>()) {
    EXPECT_TRUE(CreatePipe(&state_->reader, &state_->writer, nullptr, 0));
    SetStdHandle(STD_INPUT_HANDLE, state_->reader);
}

CInputPipe::~CInputPipe() {
    Close();
    SetStdHandle(STD_INPUT_HANDLE, state_->saved);
    // Its reading end stays open: somebody may still be about to find the input ended.
    for (const int signal : {SIGINT, SIGTERM, SIGBREAK}) {
        std::signal(signal, SIG_DFL);
    }
}

void CInputPipe::Write(const std::string& text) {
    DWORD written = 0;
    ASSERT_TRUE(
        WriteFile(state_->writer, text.data(), static_cast<DWORD>(text.size()), &written, nullptr));
    ASSERT_EQ(text.size(), written);
}

void CInputPipe::Close() {
    if (state_->writer != nullptr) {
        CloseHandle(state_->writer);
        state_->writer = nullptr;
    }
}

}  // namespace Kyr::Test
