// The program as scripts use it: a process with commands on its input and events on its output.
#include <Poco/Pipe.h>
#include <Poco/PipeStream.h>
#include <Poco/Process.h>
#include <filesystem>
#include <gmock/gmock.h>
#include <memory>
#include <string>
#include <vector>

#include "lab/devhost/database/Database.h"
#include "tests/support/system/TemporaryFolder.h"

namespace Kyr::Test {
namespace {

using Lab::DevHost::CDatabase;
using ::testing::HasSubstr;

class CDevHostProcess {
  public:
    explicit CDevHostProcess(const std::vector<std::string>& arguments)
        : handle_(Poco::Process::launch(KYR_DEVHOST_PATH, arguments, &input_, &output_, nullptr)),
          commands_(input_),
          events_(output_) {}

    void Say(const std::string& command) { commands_ << command << std::endl; }
    void EndInput() { commands_.close(); }

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

    void Kill() {
        Poco::Process::kill(handle_.id());  // by the handle, POCO would close it on Windows
        Poco::Process::wait(handle_);
    }
    int Wait() { return Poco::Process::wait(handle_); }

  private:
    Poco::Pipe input_;
    Poco::Pipe output_;
    Poco::ProcessHandle handle_;
    Poco::PipeOutputStream commands_;
    Poco::PipeInputStream events_;
};

class ProgramTest : public ::testing::Test {
  protected:
    void Launch() {
        process_ = std::make_unique<CDevHostProcess>(std::vector<std::string>{
            std::string("--library=") + KYR_LIBRARY_PATH, "--database=" + folder_.File("host.db"),
            "--log=" + folder_.File("host.log")});
    }

    const CTemporaryFolder folder_;
    std::unique_ptr<CDevHostProcess> process_;
};

TEST_F(ProgramTest, EndOfInputStopsTheModuleInOrder) {
    Launch();
    process_->EndInput();
    EXPECT_THAT(process_->ReadUntil("call=destroy"), HasSubstr("result=ok"));
    EXPECT_EQ(process_->Wait(), 0);
}

TEST_F(ProgramTest, QuitEndsTheProgram) {
    Launch();
    process_->Say("quit");
    EXPECT_THAT(process_->ReadUntil("call=destroy"), HasSubstr("result=ok"));
    EXPECT_EQ(process_->Wait(), 0);
}

TEST_F(ProgramTest, ValueSurvivesThatTheHostIsKilled) {
    Launch();
    process_->Say("set XDR_OFFSET 17");
    ASSERT_THAT(process_->ReadUntil("answer command=set"), HasSubstr("value=17"));
    process_->Kill();
    EXPECT_EQ(CDatabase(folder_.File("host.db")).KeyValues().GetValue("XDR_OFFSET"), "17");
}

TEST_F(ProgramTest, KilledHostStartsAgainWithTheSameIdentifier) {
    Launch();
    process_->Say("dump");
    const std::string first = process_->ReadUntil("instance=");
    process_->Kill();
    Launch();
    process_->Say("dump");
    const std::string second = process_->ReadUntil("instance=");
    process_->EndInput();
    process_->Wait();
    ASSERT_THAT(first, HasSubstr("instance="));
    const std::size_t length = sizeof("instance=12345678-1234-1234-1234-123456789012") - 1;
    EXPECT_EQ(first.substr(first.find("instance="), length),
              second.substr(second.find("instance="), length));
}

TEST_F(ProgramTest, MissingLibraryOptionEndsTheProgramWithTwo) {
    EXPECT_EQ(CDevHostProcess({}).Wait(), 2);
}

TEST_F(ProgramTest, HelpEndsTheProgramWithoutStarting) {
    CDevHostProcess process({"--help"});
    EXPECT_THAT(process.ReadUntil("--library"), HasSubstr("REQUIRED"));
    EXPECT_EQ(process.Wait(), 0);
}

TEST_F(ProgramTest, LibraryThatCannotBeLoadedEndsTheProgramWithOneAndLeavesNoFiles) {
    CDevHostProcess process({"--library=" + folder_.File("absent"),
                             "--database=" + folder_.File("host.db"),
                             "--log=" + folder_.File("host.log")});
    EXPECT_EQ(process.Wait(), 1);
    EXPECT_FALSE(std::filesystem::exists(folder_.File("host.db")));
    EXPECT_FALSE(std::filesystem::exists(folder_.File("host.log")));
}

}  // namespace
}  // namespace Kyr::Test
