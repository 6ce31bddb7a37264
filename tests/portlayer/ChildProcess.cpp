#include "tests/portlayer/ChildProcess.h"

#include <Poco/Environment.h>
#include <cstdlib>
#include <gtest/gtest.h>
#include <iostream>
#include <string>

#include <boost/dll/runtime_symbol_info.hpp>

#include "tests/support/system/TestProcess.h"

namespace Kyr::Test {

namespace {

// Set in a program that was started again.
constexpr char kMark[] = "KYR_TEST_CHILD";
constexpr char kReady[] = "the second process is ready";

std::string ThisTest() {
    const testing::TestInfo& test = *testing::UnitTest::GetInstance()->current_test_info();
    return std::string(test.test_suite_name()) + '.' + test.name();
}

}  // namespace

CChildProcess::CChildProcess(const std::function<void(CChildProcess&)>& body) {
    if (IsStartedAgain()) {
        body(*this);
        Exit(testing::Test::HasFailure() ? 1 : 0);
    }
    Poco::Environment::set(kMark, "1");
    process_ = std::make_unique<CTestProcess>(
        boost::dll::program_location().string(),
        std::vector<std::string>{"--gtest_brief=1", "--gtest_filter=" + ThisTest()});
    Poco::Environment::set(kMark, "");
}

CChildProcess::~CChildProcess() {
    Kill();
}

bool CChildProcess::IsStartedAgain() {
    const char* const mark = std::getenv(kMark);
    return mark != nullptr && *mark != '\0';
}

void CChildProcess::AwaitReady() {
    EXPECT_NE(process_->ReadUntil(kReady), "");
}

void CChildProcess::Go() {
    process_->Say("go");
}

void CChildProcess::Kill() {
    if (process_) {
        process_->Kill();
        process_.reset();
    }
}

int CChildProcess::ExitCode() {
    const int code = process_->Wait();
    process_.reset();
    return code;
}

void CChildProcess::Ready() {
    std::cout << kReady << std::endl;
}

void CChildProcess::AwaitGo() {
    std::string line;
    EXPECT_TRUE(std::getline(std::cin, line));
}

void CChildProcess::WaitForEver() {
    // Or for as long as somebody could still end it.
    std::string line;
    while (std::getline(std::cin, line)) {
    }
    Exit(1);
}

void CChildProcess::Exit(int code) {
    // At once: nothing of the test may be tidied up.
    std::_Exit(code);
}

std::uint32_t CurrentProcessId() {
    return static_cast<std::uint32_t>(Poco::Process::id());
}

}  // namespace Kyr::Test
