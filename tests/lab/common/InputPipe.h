// A pipe in the place of this process's standard input, while the object lives.
//
// One at a time. Whatever asks the process to end is put back as it was, too.
#pragma once

#include <memory>
#include <string>

namespace Kyr::Test {

class CInputPipe {
  public:
    CInputPipe();
    CInputPipe(const CInputPipe&) = delete;
    CInputPipe& operator=(const CInputPipe&) = delete;
    ~CInputPipe();

    void Write(const std::string& text);
    /// Ends the input.
    void Close();

  private:
    struct State;  // the platform's own
    std::unique_ptr<State> state_;
};

}  // namespace Kyr::Test
