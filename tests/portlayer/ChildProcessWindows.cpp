#include "tests/portlayer/ChildProcess.h"

#define WIN32_LEAN_AND_MEAN
#define NOMINMAX 1
#include <gtest/gtest.h>
#include <string>
#include <windows.h>

namespace Kyr::Test {

namespace {

// Set in a program that was started again: the id of the one that started it.
constexpr const wchar_t* kParentVariable = L"KYR_TEST_PARENT";

std::wstring ParentId() {
    wchar_t text[16];
    const DWORD length = ::GetEnvironmentVariableW(kParentVariable, text, 16);
    return length < 16 ? std::wstring(text, length) : std::wstring();
}

HANDLE Signal(const std::wstring& parent, const wchar_t* name) {
    return ::CreateEventW(nullptr, FALSE, FALSE, (L"Local\\kyr-test-" + parent + name).c_str());
}

std::wstring ThisProgram() {
    wchar_t path[MAX_PATH];
    return std::wstring(path, ::GetModuleFileNameW(nullptr, path, MAX_PATH));
}

std::wstring ThisTest() {
    const testing::TestInfo& test = *testing::UnitTest::GetInstance()->current_test_info();
    const std::string name = std::string(test.test_suite_name()) + '.' + test.name();
    return std::wstring(name.begin(), name.end());
}

}  // namespace

struct CChildProcess::System {
    HANDLE process = nullptr;  // in the parent
    HANDLE ready = nullptr;
    HANDLE go = nullptr;
};

CChildProcess::CChildProcess(const std::function<void(CChildProcess&)>& body)
    : system_(std::make_unique<System>()) {
    const std::wstring parent =
        IsStartedAgain() ? ParentId() : std::to_wstring(::GetCurrentProcessId());
    system_->ready = Signal(parent, L"-ready");
    system_->go = Signal(parent, L"-go");
    if (IsStartedAgain()) {
        body(*this);
        Exit(testing::Test::HasFailure() ? 1 : 0);
    }
    std::wstring command =
        L"\"" + ThisProgram() + L"\" --gtest_brief=1 --gtest_filter=" + ThisTest();
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION started = {};
    ::SetEnvironmentVariableW(kParentVariable, parent.c_str());
    EXPECT_NE(::CreateProcessW(nullptr, command.data(), nullptr, nullptr, FALSE, 0, nullptr,
                               nullptr, &startup, &started),
              0);
    ::SetEnvironmentVariableW(kParentVariable, nullptr);
    ::CloseHandle(started.hThread);
    system_->process = started.hProcess;
}

CChildProcess::~CChildProcess() {
    Kill();
    ::CloseHandle(system_->ready);
    ::CloseHandle(system_->go);
}

bool CChildProcess::IsStartedAgain() {
    return !ParentId().empty();
}

void CChildProcess::AwaitReady() {
    const HANDLE either[] = {system_->ready, system_->process};
    EXPECT_EQ(::WaitForMultipleObjects(2, either, FALSE, INFINITE), WAIT_OBJECT_0);
}

void CChildProcess::Go() {
    EXPECT_NE(::SetEvent(system_->go), 0);
}

void CChildProcess::Kill() {
    if (system_->process != nullptr) {
        ::TerminateProcess(system_->process, 1);
        ExitCode();
    }
}

int CChildProcess::ExitCode() {
    DWORD code = 0;
    ::WaitForSingleObject(system_->process, INFINITE);
    ::GetExitCodeProcess(system_->process, &code);
    ::CloseHandle(system_->process);
    system_->process = nullptr;
    return static_cast<int>(code);
}

void CChildProcess::Ready() {
    EXPECT_NE(::SetEvent(system_->ready), 0);
}

void CChildProcess::AwaitGo() {
    EXPECT_EQ(::WaitForSingleObject(system_->go, INFINITE), WAIT_OBJECT_0);
}

void CChildProcess::WaitForEver() {
    for (;;) {
        ::Sleep(INFINITE);
    }
}

void CChildProcess::KillSelf() {
    Exit(1);
}

void CChildProcess::Exit(int code) {
    // At once: nothing of the test may be tidied up.
    ::TerminateProcess(::GetCurrentProcess(), static_cast<UINT>(code));
    WaitForEver();
}

std::uint32_t CurrentProcessId() {
    return ::GetCurrentProcessId();
}

}  // namespace Kyr::Test
