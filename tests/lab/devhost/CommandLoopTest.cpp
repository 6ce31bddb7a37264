#include <csignal>
#include <functional>
#include <gmock/gmock.h>
#include <map>
#include <string>

#include "lab/devhost/Host.h"
#include "tests/lab/common/InputPipe.h"
#include "tests/lab/common/LineList.h"
#include "tests/lab/devhost/TestModule.h"
#include "tests/support/system/TemporaryFolder.h"

namespace Kyr::Test {
namespace {

using Lab::DevHost::CHost;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::MockFunction;
using ::testing::StrictMock;

constexpr char kStopBegins[] = "life call=RequestStop result=ok";

/// A host whose module never stops but by force, and what ends it at once.
class CommandLoopTest : public ::testing::Test {
  protected:
    CommandLoopTest() { module_.busyFor = 1000000; }

    void Obey() {
        ASSERT_TRUE(host_.Start());
        events_.Take();
        host_.Obey(input_, endAtOnce_.AsStdFunction());
        EXPECT_THAT(events_.Texts(), Contains("life call=destroy result=ok"));
    }

    /// Calls `action` with that event, on the thread that tells it.
    void With(const std::string& event, std::function<void()> action) {
        actions_[event] = std::move(action);
    }

    void Take(const Lab::CLine& line) {
        events_.Sink()(line);
        const auto action = actions_.find(line.Text());
        if (action != actions_.end()) {
            action->second();
        }
    }

    CInputPipe pipe_;
    Lab::CCommandInput input_;
    Lab::CLineList events_;
    std::map<std::string, std::function<void()>> actions_;
    StrictMock<MockFunction<void()>> endAtOnce_;
    CTestModule module_;
    CHost host_{{":memory:"},
                [this] { return module_.Loaded(); },
                [this](const Lab::CLine& line) { Take(line); },
                [](const Lab::CLine&) {}};
};

TEST_F(CommandLoopTest, ForceReachesAModuleThatHangsInTheStopOfQuit) {
    pipe_.Write("quit\nstop force\n");
    Obey();
    EXPECT_THAT(events_.Texts(), Contains("life call=Stop(true) result=true"));
}

TEST_F(CommandLoopTest, ForceReachesAModuleThatHangsInTheStopOfARequestToTerminate) {
    With(kStopBegins, [this] { pipe_.Write("stop force\n"); });
    std::raise(SIGTERM);
    Obey();
    EXPECT_THAT(events_.Texts(), Contains("life call=Stop(true) result=true"));
}

TEST_F(CommandLoopTest, SecondRequestToTerminateEndsAtOnce) {
    With(kStopBegins, [this] { pipe_.Write("get once-more\n"); });
    With("answer command=get key=once-more value=\"\"", [] { std::raise(SIGTERM); });
    EXPECT_CALL(endAtOnce_, Call).WillOnce([this] { host_.Execute("stop force"); });
    std::raise(SIGTERM);
    Obey();
}

TEST_F(CommandLoopTest, StopWithoutForceAsksTheModule) {
    module_.busyFor = 0;
    pipe_.Write("stop\nquit\n");
    Obey();
    EXPECT_THAT(module_.calls,
                ElementsAre("Initialize", "Start", "RequestStop", "Stop(false)", "Destroy"));
}

TEST_F(CommandLoopTest, StopOfAModuleThatNeverBeganDestroysItBehindTheAnswer) {
    host_.Execute("stop");
    EXPECT_THAT(events_.Texts(), ElementsAre("answer command=stop", "life call=destroy result=ok"));
}

TEST_F(CommandLoopTest, QuitAsksTheModuleBehindItsAnswer) {
    module_.busyFor = 0;
    pipe_.Write("quit\n");
    Obey();
    EXPECT_THAT(events_.Texts(),
                ElementsAre("answer command=quit", kStopBegins, "life call=Stop(false) result=true",
                            "life call=destroy result=ok"));
}

TEST_F(CommandLoopTest, StopWithoutQuitDoesNotEndTheProgram) {
    // The command behind is not there before the module is gone.
    With("answer command=stop",
         [this] { host_.WhenDestroyed([this] { pipe_.Write("get still\nquit\n"); }); });
    pipe_.Write("stop force\n");
    Obey();
    EXPECT_THAT(events_.Texts(),
                ElementsAre("answer command=stop", kStopBegins, "life call=Stop(true) result=true",
                            "life call=destroy result=ok",
                            "answer command=get key=still value=\"\"", "answer command=quit"));
}

TEST(HostStartTest, HostWhoseDatabaseAnotherOneUsesMakesNoModule) {
    const CTemporaryFolder folder;
    const auto claim = Lab::DevHost::ClaimDatabase(folder.File("host.db"));
    StrictMock<MockFunction<CHost::MakeModule>> makeModule;
    const auto nowhere = [](const Lab::CLine&) {};
    EXPECT_THROW(CHost({folder.File("host.db")}, makeModule.AsStdFunction(), nowhere, nowhere),
                 Lab::DevHost::CDatabaseError);
}

}  // namespace
}  // namespace Kyr::Test
