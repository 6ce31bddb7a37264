// The whole host around the built library.
#include <chrono>
#include <future>
#include <gmock/gmock.h>
#include <stdexcept>

#include "lab/devhost/Host.h"
#include "tests/lab/common/LineList.h"

namespace Kyr::Test {
namespace {

using Lab::DevHost::CHost;
using ::testing::Contains;
using ::testing::ElementsAre;

class HostTest : public ::testing::Test {
  protected:
    std::string LastEvent() const { return events_.Texts().back(); }

    /// Carries out a command that stops the module, and waits until that is destroyed.
    void StopBy(const std::string& command) {
        host_.Start();
        std::promise<void> destroyed;
        host_.WhenDestroyed([&] { destroyed.set_value(); });
        host_.Execute(command);
        ASSERT_EQ(std::future_status::ready,
                  destroyed.get_future().wait_for(std::chrono::seconds(20)));
    }

    Lab::CLineList events_;
    Lab::CLineList logFile_;
    // ":memory:" is a database without a file.
    CHost host_{{KYR_LIBRARY_PATH, ":memory:"}, events_.Sink(), logFile_.Sink()};
};

TEST_F(HostTest, StartedHostIsReady) {
    EXPECT_TRUE(host_.Start());
    EXPECT_THAT(events_.Texts(), Contains("ready module=COvAgentConnectorModule"));
}

TEST_F(HostTest, StopCommandStopsTheModuleAndTheHostGoesOn) {
    StopBy("stop force");
    EXPECT_THAT(events_.Texts(), Contains("life call=Stop(true) result=true"));
    EXPECT_FALSE(host_.HasEnded());
}

TEST_F(HostTest, QuitCommandEndsWithTheModulesDestruction) {
    StopBy("quit");
    EXPECT_TRUE(host_.HasEnded());
    EXPECT_EQ(LastEvent(), "life call=destroy result=ok");
}

TEST_F(HostTest, ValueThatWasSetIsShown) {
    host_.Execute("set XDR_ENABLED 1");
    EXPECT_EQ(LastEvent(), "answer command=set key=XDR_ENABLED value=1");
    host_.Execute("get XDR_ENABLED");
    EXPECT_EQ(LastEvent(), "answer command=get key=XDR_ENABLED value=1");
}

TEST_F(HostTest, MessageOfACommandIsPublishedBehindItsAnswer) {
    const struct {
        const char* line;
        const char* answer;
        const char* published;
    } kRows[] = {
        {"kill pid=1 ids=a,b,c", "kill ids=a,b,c", "918 name=KillProcessByPid context=1 by=host"},
        {"block ids=a,b,c", "block ids=a,b,c", "919 name=BlockExecutableByHash context=2 by=host"},
        {"policy text=a", "policy", "194 name=ApplyPolicy context=3 by=host"},
        {"trigger kind=3", "trigger", "7 name=OvAgentRequest context=4 by=host request=3"},
        {"reply request=3", "reply", "688 name=Response context=5 by=host"},
    };
    for (const auto& row : kRows) {
        events_.Take();
        host_.Execute(row.line);
        EXPECT_THAT(events_.Take(), ElementsAre(std::string("answer command=") + row.answer,
                                                std::string("publish type=") + row.published));
    }
}

TEST_F(HostTest, MemoryCommandTellsTheMemoryAndThenAnswers) {
    host_.Execute("memory");
    EXPECT_THAT(events_.Texts(),
                ElementsAre(::testing::StartsWith("memory when=asked "), "answer command=memory"));
}

class HostByHandTest : public ::testing::Test {
  protected:
    std::vector<std::string> Type(const std::string& line) {
        host_->Execute(line);
        return events_.Take();
    }

    Lab::CLineList events_;
    Lab::DevHost::HostSettings settings_ = [] {
        Lab::DevHost::HostSettings settings{KYR_LIBRARY_PATH, ":memory:"};
        settings.instance = "chosen";
        settings.told = {"resource"};
        settings.byHand = true;
        return settings;
    }();
    const std::unique_ptr<CHost> host_ =
        std::make_unique<CHost>(settings_, events_.Sink(), [](const Lab::CLine&) {});
};

TEST_F(HostByHandTest, ModuleIsCalledAsTypedAndNoMore) {
    EXPECT_TRUE(host_->Start());
    EXPECT_THAT(events_.Take(), ElementsAre("ready module=COvAgentConnectorModule"));
    EXPECT_THAT(Type("life initialize"), Contains("life call=Initialize result=ok"));
    EXPECT_THAT(Type("life start"), Contains("life call=Start result=ok"));
    EXPECT_THAT(Type("life start"), Contains("life call=Start result=ok"));
    EXPECT_THAT(Type("life request-stop"), Contains("life call=RequestStop result=ok"));
    EXPECT_THAT(Type("life stop"), Contains("life call=Stop(false) result=true"));
    EXPECT_THAT(Type("life stop force"), Contains("life call=Stop(true) result=true"));
    EXPECT_THAT(Type("life destroy"),
                ElementsAre("answer command=life", "life call=destroy result=ok"));
    EXPECT_THAT(Type("life start"), Contains(::testing::StartsWith("error command=life ")));
    EXPECT_THAT(Type("quit"), ElementsAre("answer command=quit"));
    EXPECT_TRUE(host_->HasEnded());
}

TEST_F(HostByHandTest, CallThatThereIsNotIsRefused) {
    EXPECT_THAT(Type("life stop now"),
                ElementsAre("error command=life text=\"no such call: stop now\""));
    EXPECT_THAT(Type("life"), ElementsAre("error command=life text=\"no such call: \""));
}

TEST_F(HostByHandTest, ModuleIsGivenTheChosenInstance) {
    EXPECT_THAT(Type("dump"), ElementsAre("answer command=dump instance=chosen"));
}

TEST_F(HostByHandTest, WhatIsAskedForIsTold) {
    EXPECT_THAT(Type("life initialize"), Contains("resource number=6 given=yes"));
}

TEST(HostWithoutLibraryTest, MissingLibraryIsAnErrorThatNamesIt) {
    Lab::CLineList events;
    try {
        const CHost host({"/absent/library", ":memory:"}, events.Sink(), events.Sink());
        FAIL() << "no exception";
    } catch (const std::runtime_error& exception) {
        EXPECT_THAT(exception.what(), ::testing::HasSubstr("/absent/library"));
    }
}

}  // namespace
}  // namespace Kyr::Test
