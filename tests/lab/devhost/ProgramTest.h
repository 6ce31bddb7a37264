// The program as scripts use it: a process with commands on its input and events on its output.
#pragma once

#include <Poco/Pipe.h>
#include <Poco/PipeStream.h>
#include <Poco/Process.h>
#include <gtest/gtest.h>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "tests/support/system/TemporaryFolder.h"

namespace Kyr::Test {

class CDevHostProcess {
  public:
    explicit CDevHostProcess(const std::vector<std::string>& arguments)
        : handle_(Poco::Process::launch(KYR_DEVHOST_PATH, arguments, &input_, &output_, &errors_)),
          commands_(input_),
          events_(output_),
          complaints_(errors_) {}

    void Say(const std::string& command) { commands_ << command << std::endl; }
    void EndInput() { commands_.close(); }
    /// From now on nobody reads the events.
    void LeaveOutput() { events_.close(); }

    /// Reads events up to the first one that contains `text`; empty when none came.
    std::string ReadUntil(const std::string& text) {
        std::string line;
        while (std::getline(events_, line)) {
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

    void Kill() {
        Poco::Process::kill(handle_.id());  // by the handle, POCO would close it on Windows
        Poco::Process::wait(handle_);
    }
    int Wait() { return Poco::Process::wait(handle_); }

  private:
    Poco::Pipe input_;
    Poco::Pipe output_;
    Poco::Pipe errors_;
    Poco::ProcessHandle handle_;
    Poco::PipeOutputStream commands_;
    Poco::PipeInputStream events_;
    Poco::PipeInputStream complaints_;
};

class ProgramTest : public ::testing::Test {
  protected:
    void Launch() { Launch(folder_.File("host.log")); }
    void Launch(const std::string& log) {
        process_ = std::make_unique<CDevHostProcess>(
            std::vector<std::string>{std::string("--library=") + KYR_LIBRARY_PATH,
                                     "--database=" + folder_.File("host.db"), "--log=" + log});
    }

    const CTemporaryFolder folder_;
    std::unique_ptr<CDevHostProcess> process_;
};

}  // namespace Kyr::Test
