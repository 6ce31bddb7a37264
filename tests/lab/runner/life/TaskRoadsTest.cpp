#include <gmock/gmock.h>
#include <map>
#include <string>
#include <vector>

#include <boost/algorithm/string/join.hpp>

#include "lab/runner/life/Tellers.h"
#include "tests/lab/runner/life/ToldLife.h"

namespace Kyr::Lab::Runner {
namespace {

using Lines = std::vector<std::string>;

using State = LifePage::Task::State;

const std::map<State, std::string> kStates{{State::kGiven, "given"},
                                           {State::kAsked, "asked"},
                                           {State::kAccepted, "accepted"},
                                           {State::kAcceptedNotDone, "accepted-not-done"},
                                           {State::kFailing, "failing"},
                                           {State::kDone, "done"},
                                           {State::kDoneWithWarning, "done-with-warning"},
                                           {State::kFailed, "failed"},
                                           {State::kGivenUp, "given-up"},
                                           {State::kDropped, "dropped"},
                                           {State::kTold, "told"}};

/// "end process 7 [identifiers] state, attempts 1, until 5 (why): station; station".
std::string TextOf(const LifePage::Task& task) {
    Lines stations;
    for (const LifePage::Station& station : task.road) {
        stations.push_back(station.text);
    }
    return task.what + " [" + boost::algorithm::join(task.identifiers, ",") + "] " +
           kStates.at(task.state) + ", attempts " + std::to_string(task.attempts) + ", until " +
           Milliseconds(task.until) + (task.why.empty() ? "" : " (" + task.why + ")") + ": " +
           boost::algorithm::join(stations, "; ");
}

LifePage::Life Lived(const Lines& told) {
    LifePage::Life life = ToldLife(told);
    JoinExchanges(life);
    JoinMessages(life);
    TellTasks(life);
    return life;
}

struct RoadRow {
    const char* situation;
    Lines told;
    Lines tasks;
};

void ExpectTasks(const std::vector<RoadRow>& rows) {
    for (const RoadRow& row : rows) {
        Lines tasks;
        for (const LifePage::Task& task : Lived(row.told).tasks) {
            tasks.push_back(TextOf(task));
        }
        EXPECT_EQ(tasks, row.tasks) << row.situation;
    }
}

const std::string kKill = " host publish name=KillProcessByPid context=4 by=host";
const std::string kGiven = ": given to the host";

TEST(TaskRoadsTest, TaskHasTheNameAndIdentifiersThatWereTypedForIt) {
    ExpectTasks({
        {"several in a row",
         {"1 host command text=\"kill pid=9826\"", "2 host command text=\"kill pid=9828\"",
          "3 host command text=\"block sha256=e3b0c44298fc1c14\"", "4 host command text=dump",
          "5 host answer command=kill ids=a,b,c", "5" + kKill,
          "6 host answer command=kill ids=d,e,f", "6" + kKill,
          "7 host answer command=block ids=g,h,i",
          "7 host publish name=BlockExecutableByHash context=6 by=host"},
         {"end process 9826 [a,b,c] given, attempts 0, until 5" + kGiven,
          "end process 9828 [d,e,f] given, attempts 0, until 6" + kGiven,
          "block program e3b0c44298fc [g,h,i] given, attempts 0, until 7" + kGiven}},
        {"a line that the host refuses names none",
         {"1 host command text=\"kill pid=9826 now\"", "2 host command text=\"kill pid=9828\"",
          "3 host error command=kill text=\"not understood: now\"",
          "4 host answer command=kill ids=a,b,c", "4" + kKill},
         {"end process 9828 [a,b,c] given, attempts 0, until 4" + kGiven}},
        {"nor does one with an open quote",
         {"1 host command text=\"kill pid=\\\"9826\"", "2 host command text=\"kill pid=9828\"",
          "3 host error command=\"kill pid=\\\"9826\" text=\"a quote is open\"",
          "4 host answer command=kill ids=a,b,c", "4" + kKill},
         {"end process 9828 [a,b,c] given, attempts 0, until 4" + kGiven}},
        {"nor does one with an open quote of which nothing was said, in place of the next",
         {"1 host command text=\"kill pid=\\\"9826\"", "2 host command text=\"(started) devhost\"",
          "3 host command text=\"kill pid=9828\"", "4 host answer command=kill ids=a,b,c",
          "4" + kKill},
         {"end process [a,b,c] given, attempts 0, until 4" + kGiven}},
        {"nor one that an earlier host left unanswered",
         {"1 host command text=\"kill pid=9826\"", "2 host end text=\"host 1 ended by signal 9\"",
          "3 host command text=\"(started) devhost\"", "4 host command text=\"kill pid=9828\"",
          "5 host answer command=kill ids=a,b,c", "5" + kKill},
         {"end process 9828 [a,b,c] given, attempts 0, until 5" + kGiven}},
        {"nor one for the product",
         {"1 host command text=\"kill pid=9826\"", "2 product command text=\"kill pid=9828\"",
          "3 product answer command=kill", "4 host answer command=kill ids=a,b,c", "4" + kKill},
         {"end process 9826 [a,b,c] given, attempts 0, until 4" + kGiven}},
        {"nor the one of the task before",
         {"1 host command text=\"kill pid=9826\"", "2 host answer command=kill ids=a,b,c",
          "2" + kKill, "3 host publish name=ApplyPolicy context=5 by=host"},
         {"end process 9826 [a,b,c] given, attempts 0, until 2" + kGiven,
          "apply a policy [] given, attempts 0, until 3" + kGiven}},
        {"what the module asks of itself, and an unknown message, are no tasks",
         {"1 host publish name=OvAgentRequest context=4 by=module request=5",
          "2 host publish name=UnknownMessage context=5 by=host"},
         {}},
    });
}

/// What is told of "end process 4711" behind its giving.
Lines Given(const Lines& then) {
    Lines lines{"1 host command text=\"kill pid=4711 ids=a,b,c\"",
                "2 host answer command=kill ids=a,b,c", "3" + kKill};
    lines.insert(lines.end(), then.begin(), then.end());
    return lines;
}

std::string Asked(int at, int id) {
    return std::to_string(at) + " product request id=" + std::to_string(id) +
           " transport=alpc command=3 name=xml function=KILL_PROCESS_BY_PID";
}

const std::string kTask = "end process 4711 [a,b,c] ";
const std::string kOnce = ": given to the host; product asked over ALPC; ";

TEST(TaskRoadsTest, TaskThatTheProductTakesIsDoneOrSaysWhyNot) {
    ExpectTasks({
        {"it is accepted and has no outcome yet",
         Given({Asked(4, 1), "5 product did action=kill outcome=done text=killed userdata=a;b;c",
                "6 product reply id=1 transport=alpc status=0"}),
         {kTask + "accepted, attempts 1, until 6" + kOnce + "product does it: killed; accepted"}},
        {"it is accepted and not done",
         Given({Asked(4, 1),
                "5 product did action=kill outcome=refused text=\"not a lab process\" "
                "userdata=a;b;c",
                "6 product reply id=1 transport=alpc status=0"}),
         {kTask +
          "accepted-not-done, attempts 1, until 6 (product does not do it: not a lab process)" +
          kOnce + "product does not do it: not a lab process; accepted"}},
        {"what was not done at first is done later",
         Given({Asked(4, 1), "5 product did action=kill outcome=refused text=busy userdata=a;b;c",
                "6 product reply id=1 transport=alpc status=0", Asked(10008, 2),
                "10009 product did action=kill outcome=done text=killed userdata=a;b;c",
                "10010 product reply id=2 transport=alpc status=0"}),
         {kTask + "accepted, attempts 2, until 10010" + kOnce +
          "product does not do it: busy; accepted; product asked over ALPC; "
          "product does it: killed; accepted"}},
        {"what went wrong is forgotten when it works",
         Given({Asked(4, 1), "5 product reply id=1 transport=alpc delivery=dropped",
                "6 host log level=4 text=\"Send request failed\"", Asked(10008, 2),
                "10009 product reply id=2 transport=alpc status=0"}),
         {kTask + "accepted, attempts 2, until 10009" + kOnce +
          "no reply; Send request failed; product asked over ALPC; accepted"}},
        {"it outlives the host",
         Given({Asked(4, 1), "5 product reply id=1 transport=alpc status=0",
                "6 host end text=\"host 1 ended with code 0\""}),
         {kTask + "accepted, attempts 1, until 5" + kOnce + "accepted"}},
    });
}

const Lines kDone = Given({Asked(4, 1), "5 product reply id=1 transport=alpc status=0",
                           "6 host publish name=EventLog_TASK context=9 by=module",
                           "7 host symbols name=EventLog_TASK context=9 row=0 2836-status=1 "
                           "2842-task-first=a 2848-outcome=0x000000010000000b"});

TEST(TaskRoadsTest, OutcomeIsWhatTheServerIsTold) {
    ExpectTasks({
        {"done, by another message",
         kDone,
         {kTask + "done, attempts 1, until 6" + kOnce + "accepted; server is told: done"}},
        {"done, of a task that nobody gave",
         {"6 host publish name=EventLog_TASK context=9 by=module",
          "7 host symbols name=EventLog_TASK context=9 row=0 2842-task-first=z "
          "2848-outcome=0x000000010000000b"},
         {}},
        {"failed for good",
         Given({"6 host publish name=EventLog_TASK context=4 by=module",
                "7 host symbols name=EventLog_TASK context=4 row=0 2836-status=4 "
                "2842-task-first=a 2848-outcome=0x000000010000000c 2913-description=\"Task "
                "failed\""}),
         {kTask + "failed, attempts 0, until 6 (Task failed)" + kGiven +
          "; server is told: failed"}},
        {"refused, tried again and given up",
         Given({Asked(4, 1), "5 product reply id=1 transport=alpc status=14",
                "6 host publish name=EventLog_TASK context=4 by=module",
                std::string("6 host symbols name=EventLog_TASK context=4 row=0 2836-status=1 ") +
                    "2842=a 2848-outcome=0x000000010000000c",
                "7 host log level=4 text=\"Send request failed with 14\"",
                "10007 host log level=2 text=\"Reconnecting to product\"", Asked(10008, 2),
                "10009 product reply id=2 transport=alpc status=14",
                std::string("20009 host log level=4 text=\"Message task was canceled because ") +
                    "maximum retry count was reached\""}),
         {kTask +
          "given-up, attempts 2, until 20009 (it was tried as often as a task may be; the last "
          "time: refused with status 14)" +
          kOnce +
          "refused with status 14; server is told: failed, to be tried again; Send request failed "
          "with 14; connector connects again; product asked over ALPC; refused with status 14; "
          "given up: it was tried as often as a task may be"}},
        {"given up for want of a product",
         Given({Asked(4, 1),
                "9 host log level=4 text=\"Message task was canceled because product is not "
                "available, message was\""}),
         {kTask + "given-up, attempts 1, until 9 (the product is not available)" + kOnce +
          "given up: the product is not available"}},
        {"dropped with its host, when it is not with the product",
         Given({"5 host end text=\"host 1 ended with code 0\""}),
         {kTask + "dropped, attempts 0, until 5" + kGiven + "; host ended before it was done"}},
    });
}

TEST(TaskRoadsTest, EventThatTellsTheOutcomeBelongsToTheTask) {
    EXPECT_THAT(Lived(kDone).events.back().tasks, testing::ElementsAre(0U));
}

}  // namespace
}  // namespace Kyr::Lab::Runner
