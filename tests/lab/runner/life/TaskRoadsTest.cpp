#include <gmock/gmock.h>

#include "lab/runner/life/Tellers.h"
#include "tests/lab/runner/life/ToldLife.h"

namespace Kyr::Lab::Runner {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

using State = LifePage::Task::State;
using namespace std::string_literals;

const std::string kKill = " host publish name=KillProcessByPid context=4 by=host";

class TaskRoadsTest : public ::testing::Test {
  protected:
    void Tell(const std::vector<std::string>& lines) {
        life_ = ToldLife(lines);
        JoinExchanges(life_);
        JoinMessages(life_);
        TellTasks(life_);
    }

    const LifePage::Task& Task(std::size_t number = 0) const { return life_.tasks.at(number); }

    std::vector<std::string> Names() const {
        std::vector<std::string> names;
        for (const LifePage::Task& task : life_.tasks) {
            names.push_back(task.what);
        }
        return names;
    }

    std::vector<std::string> Road() const {
        std::vector<std::string> texts;
        for (const LifePage::Station& station : Task().road) {
            texts.push_back(station.text);
        }
        return texts;
    }

    static std::string Request(int at, int id) {
        return std::to_string(at) + " product request id=" + std::to_string(id) +
               " transport=alpc command=3 name=xml function=KILL_PROCESS_BY_PID";
    }

    const std::vector<std::string> given_{"1 host command text=\"kill pid=4711 ids=a,b,c\"",
                                          "2 host answer command=kill ids=a,b,c",
                                          "3 host publish name=KillProcessByPid context=4 by=host"};

    std::vector<std::string> Given(const std::vector<std::string>& then) const {
        std::vector<std::string> lines = given_;
        lines.insert(lines.end(), then.begin(), then.end());
        return lines;
    }

    LifePage::Life life_;
};

TEST_F(TaskRoadsTest, TaskHasTheNameAndIdentifiersThatWereTyped) {
    Tell(given_);
    ASSERT_THAT(life_.tasks, SizeIs(1));
    EXPECT_EQ(Task().what, "end process 4711");
    EXPECT_THAT(Task().identifiers, ElementsAre("a", "b", "c"));
    EXPECT_EQ(Task().state, State::kGiven);
    EXPECT_THAT(Road(), ElementsAre("given to the host"));
}

TEST_F(TaskRoadsTest, TasksTypedInARowHaveTheNamesOfTheirOwnCommands) {
    Tell({"1 host command text=\"kill pid=9826\"", "2 host command text=\"kill pid=9828\"",
          "3 host command text=\"block sha256=e3b0c44298fc1c14\"", "4 host command text=dump",
          "5 host answer command=kill ids=a,b,c", "5" + kKill,
          "6 host answer command=kill ids=d,e,f", "6" + kKill,
          "7 host answer command=block ids=g,h,i",
          "7 host publish name=BlockExecutableByHash context=6 by=host"});
    EXPECT_THAT(Names(),
                ElementsAre("end process 9826", "end process 9828", "block program e3b0c44298fc"));
    EXPECT_THAT(Task(1).identifiers, ElementsAre("d", "e", "f"));
}

TEST_F(TaskRoadsTest, LineThatTheHostRefusesNamesNoTask) {
    Tell({"1 host command text=\"kill pid=9826 now\"", "2 host command text=\"kill pid=9828\"",
          "3 host error command=kill text=\"not understood: now\"",
          "4 host answer command=kill ids=a,b,c", "4" + kKill});
    EXPECT_THAT(Names(), ElementsAre("end process 9828"));
}

TEST_F(TaskRoadsTest, LineWithAnOpenQuoteNamesNoTask) {
    Tell({"1 host command text=\"kill pid=\\\"9826\"", "2 host command text=\"kill pid=9828\"",
          "3 host error command=\"kill pid=\\\"9826\" text=\"a quote is open\"",
          "4 host answer command=kill ids=a,b,c", "4" + kKill});
    EXPECT_THAT(Names(), ElementsAre("end process 9828"));
}

TEST_F(TaskRoadsTest, LineThatAHostLeftUnansweredNamesNoTaskOfTheNextHost) {
    Tell({"1 host command text=\"kill pid=9826\"", "2 host end text=\"host 1 ended by signal 9\"",
          "3 host command text=\"(started) devhost\"", "4 host command text=\"kill pid=9828\"",
          "5 host answer command=kill ids=a,b,c", "5" + kKill});
    EXPECT_THAT(Names(), ElementsAre("end process 9828"));
}

TEST_F(TaskRoadsTest, TaskThatNobodyTypedHasNotTheSubjectOfTheOneBefore) {
    Tell(Given({"4 host publish name=ApplyPolicy context=5 by=host"}));
    EXPECT_THAT(Names(), ElementsAre("end process 4711", "apply a policy"));
    EXPECT_THAT(Task(1).identifiers, IsEmpty());
}

TEST_F(TaskRoadsTest, WhatTheProductIsToldToDoNamesNoTask) {
    Tell({"1 host command text=\"kill pid=9826\"", "2 product command text=\"kill pid=9828\"",
          "3 product answer command=kill", "4 host answer command=kill ids=a,b,c", "4" + kKill});
    EXPECT_THAT(Names(), ElementsAre("end process 9826"));
}

TEST_F(TaskRoadsTest, WhatTheModuleAsksOfItselfIsNoTask) {
    Tell({"1 host publish name=OvAgentRequest context=4 by=module request=5",
          "2 host publish name=UnknownMessage context=5 by=host"});
    EXPECT_THAT(life_.tasks, IsEmpty());
}

TEST_F(TaskRoadsTest, TaskThatTheProductAcceptsHasNoOutcomeYet) {
    Tell(Given({Request(4, 1), "5 product did action=kill outcome=done text=killed userdata=a;b;c",
                "6 product reply id=1 transport=alpc status=0"}));
    EXPECT_EQ(Task().state, State::kAccepted);
    EXPECT_EQ(Task().attempts, 1U);
    EXPECT_THAT(Road(), ElementsAre("given to the host", "product asked over ALPC",
                                    "product does it: killed", "accepted"));
    EXPECT_EQ(Task().until, std::chrono::milliseconds(6));
}

TEST_F(TaskRoadsTest, TaskThatTheProductAcceptsAndDoesNotDoSaysWhy) {
    Tell(Given(
        {Request(4, 1),
         "5 product did action=kill outcome=refused text=\"not a lab process\" userdata=a;b;c",
         "6 product reply id=1 transport=alpc status=0"}));
    EXPECT_EQ(Task().state, State::kAcceptedNotDone);
    EXPECT_EQ(Task().why, "product does not do it: not a lab process");
}

TEST_F(TaskRoadsTest, WhatTheProductDidNotDoAtFirstMayBeDoneLater) {
    Tell(Given({Request(4, 1), "5 product did action=kill outcome=refused text=busy userdata=a;b;c",
                "6 product reply id=1 transport=alpc status=0", Request(10008, 2),
                "10009 product did action=kill outcome=done text=killed userdata=a;b;c",
                "10010 product reply id=2 transport=alpc status=0"}));
    EXPECT_EQ(Task().state, State::kAccepted);
    EXPECT_EQ(Task().why, "");
}

TEST_F(TaskRoadsTest, OutcomeOfAnotherMessageFindsItsTask) {
    Tell(Given({Request(4, 1), "5 product reply id=1 transport=alpc status=0",
                "6 host publish name=EventLog_TASK context=9 by=module",
                "7 host symbols name=EventLog_TASK context=9 row=0 2836-status=1 "
                "2842-task-first=a 2848-outcome=0x000000010000000b"}));
    EXPECT_EQ(Task().state, State::kDone);
    EXPECT_EQ(Road().back(), "server is told: done");
    EXPECT_THAT(life_.events.back().tasks, ElementsAre(0U));
}

TEST_F(TaskRoadsTest, OutcomeOfATaskThatNobodyGaveIsPassedOver) {
    Tell({"6 host publish name=EventLog_TASK context=9 by=module",
          "7 host symbols name=EventLog_TASK context=9 row=0 2842-task-first=z "
          "2848-outcome=0x000000010000000b"});
    EXPECT_THAT(life_.tasks, IsEmpty());
}

TEST_F(TaskRoadsTest, RefusedTaskIsTriedAgainAndGivenUp) {
    Tell(Given({Request(4, 1), "5 product reply id=1 transport=alpc status=14",
                "6 host publish name=EventLog_TASK context=4 by=module",
                "6 host symbols name=EventLog_TASK context=4 row=0 2836-status=1 2842=a "s +
                    "2848-outcome=0x000000010000000c",
                "7 host log level=4 text=\"Send request failed with 14\"",
                "10007 host log level=2 text=\"Reconnecting to product\"", Request(10008, 2),
                "10009 product reply id=2 transport=alpc status=14",
                "20009 host log level=4 text=\"Message task was canceled because maximum retry "s +
                    "count was reached\""}));
    EXPECT_EQ(Task().state, State::kGivenUp);
    EXPECT_EQ(Task().attempts, 2U);
    EXPECT_EQ(Task().why,
              "it was tried as often as a task may be; the last time: refused with status 14");
    EXPECT_THAT(
        Road(),
        ElementsAre("given to the host", "product asked over ALPC", "refused with status 14",
                    "server is told: failed, to be tried again", "Send request failed with 14",
                    "connector connects again", "product asked over ALPC", "refused with status 14",
                    "given up: it was tried as often as a task may be"));
}

TEST_F(TaskRoadsTest, TaskThatIsGivenUpForWantOfAProductSaysSo) {
    Tell(Given({Request(4, 1),
                "9 host log level=4 text=\"Message task was canceled because product is not "
                "available, message was\""}));
    EXPECT_EQ(Task().state, State::kGivenUp);
    EXPECT_EQ(Task().why, "the product is not available");
    EXPECT_EQ(Road().back(), "given up: the product is not available");
}

TEST_F(TaskRoadsTest, WhatWentWrongIsForgottenWhenItWorks) {
    Tell(Given({Request(4, 1), "5 product reply id=1 transport=alpc delivery=dropped",
                "6 host log level=4 text=\"Send request failed\"", Request(10008, 2),
                "10009 product reply id=2 transport=alpc status=0"}));
    EXPECT_EQ(Task().state, State::kAccepted);
    EXPECT_EQ(Task().why, "");
    EXPECT_EQ(Road()[2], "no reply");
}

TEST_F(TaskRoadsTest, TaskThatFailsForGoodSaysWhy) {
    Tell(Given({"6 host publish name=EventLog_TASK context=4 by=module",
                "7 host symbols name=EventLog_TASK context=4 row=0 2836-status=4 "
                "2842-task-first=a 2848-outcome=0x000000010000000c 2913-description=\"Task "
                "failed\""}));
    EXPECT_EQ(Task().state, State::kFailed);
    EXPECT_EQ(Task().why, "Task failed");
}

TEST_F(TaskRoadsTest, TaskThatIsNotWithTheProductIsDroppedWithItsHost) {
    Tell(Given({"5 host end text=\"host 1 ended with code 0\""}));
    EXPECT_EQ(Task().state, State::kDropped);
    EXPECT_EQ(Road().back(), "host ended before it was done");
}

TEST_F(TaskRoadsTest, TaskThatTheProductHasOutlivesTheHost) {
    Tell(Given({Request(4, 1), "5 product reply id=1 transport=alpc status=0",
                "6 host end text=\"host 1 ended with code 0\""}));
    EXPECT_EQ(Task().state, State::kAccepted);
}

}  // namespace
}  // namespace Kyr::Lab::Runner
