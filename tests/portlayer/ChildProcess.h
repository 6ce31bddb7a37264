// A second process of a test: a forked copy that runs one function and never returns to the test.
//
// REQUIRES: made before the test has threads or ports, so that the copy holds none of them.
#pragma once

#include <functional>

namespace Kyr::Test {

class CChildProcess {
  public:
    explicit CChildProcess(const std::function<void(CChildProcess&)>& body);
    CChildProcess(const CChildProcess&) = delete;
    CChildProcess& operator=(const CChildProcess&) = delete;
    ~CChildProcess() { Kill(); }

    // In the parent.
    void AwaitReady();
    void Go();
    void Kill();
    /// The code that the child's body ended with (0 when it returned).
    int ExitCode();
    int Id() const { return id_; }

    // In the child.
    void Ready();
    void AwaitGo();
    [[noreturn]] void WaitForEver();
    [[noreturn]] void KillSelf();
    [[noreturn]] void Exit(int code);

  private:
    int id_ = -1;
    int toParent_[2] = {-1, -1};
    int toChild_[2] = {-1, -1};
};

}  // namespace Kyr::Test
