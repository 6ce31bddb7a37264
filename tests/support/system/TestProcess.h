// A program in a process of its own, with lines on its input and output.
//
// Threads: one. It is not ended by itself: a test kills it or waits for it.
#pragma once

#include <Poco/Exception.h>
#include <Poco/Pipe.h>
#include <Poco/PipeStream.h>
#include <Poco/Process.h>
#include <iterator>
#include <string>
#include <vector>

namespace Kyr::Test {

class CTestProcess {
  public:
    CTestProcess(const std::string& program, const std::vector<std::string>& arguments)
        : handle_(Poco::Process::launch(program, arguments, &input_, &output_, &errors_)),
          words_(input_),
          lines_(output_),
          complaints_(errors_) {}

    void Say(const std::string& line) { words_ << line << std::endl; }
    void EndInput() { words_.close(); }
    /// From now on nobody reads what it says.
    void LeaveOutput() { lines_.close(); }

    /// Reads lines up to the first one that contains `text`; empty when none came.
    std::string ReadUntil(const std::string& text) {
        std::string line;
        while (std::getline(lines_, line)) {
            if (line.find(text) != std::string::npos) {
                return line;
            }
        }
        return {};
    }
    /// All that it says on standard error until it ends.
    std::string Complaints() {
        const std::istreambuf_iterator<char> begin(complaints_);
        return std::string(begin, {});
    }

    /// Ends it at once, if it has not ended before.
    void Kill() {
        try {
            Poco::Process::kill(handle_.id());  // by the handle, POCO would close it on Windows
        } catch (const Poco::Exception&) {
            // It has ended before.
        }
        Poco::Process::wait(handle_);
    }
    /// The code that it ends with.
    int Wait() { return Poco::Process::wait(handle_); }

  private:
    Poco::Pipe input_;
    Poco::Pipe output_;
    Poco::Pipe errors_;
    Poco::ProcessHandle handle_;
    Poco::PipeOutputStream words_;
    Poco::PipeInputStream lines_;
    Poco::PipeInputStream complaints_;
};

}  // namespace Kyr::Test
