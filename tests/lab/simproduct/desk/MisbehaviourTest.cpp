#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdexcept>

#include "lab/common/CommandWords.h"
#include "lab/simproduct/desk/Misbehaviour.h"

namespace Kyr::Lab::SimProduct {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

Misbehaviour Parse(const std::string& text) {
    return ParseMisbehaviour(SplitWords(text));
}

RequestFacts KillOver(Transport transport) {
    RequestFacts facts;
    facts.transport = transport;
    facts.inner = 2;
    facts.function = "KILL_PROCESS_BY_PID";
    return facts;
}

RequestFacts Ping() {
    RequestFacts facts;
    facts.command = kPingCommand;
    return facts;
}

TEST(MisbehaviourTest, TextIsReadAndWrittenTheSame) {
    const std::string limited =
        "status 5 for=2 transport=lpc command=any inner=2 function=RESTART_FDE";
    EXPECT_EQ(limited, Parse(limited).Text());
    for (const char* text : {"no-alpc",
                             "no-lpc",
                             "status 14",
                             "code 1",
                             "short 11",
                             "header-size 16",
                             "value 7",
                             "oversized 65537",
                             "raw 0cff",
                             "result-code 7",
                             "no-payload",
                             "bad-payload",
                             "bad-length",
                             "bad-length 3",
                             "delay 250",
                             "drop",
                             "die",
                             "hang",
                             "view-missing",
                             "view-small",
                             "code 1 command=0",
                             "drop transport=alpc"}) {
        EXPECT_EQ(text, Parse(text).Text());
    }
}

TEST(MisbehaviourTest, TextThatMakesNoFaultIsRefused) {
    for (const char* text :
         {"", "unknown", "status", "status x", "status 1 2", "status 4294967296", "drop 1",
          "drop for=0", "drop for=x", "drop transport=tcp", "drop when=now", "no-alpc for=1",
          "oversized 536870913", "raw", "raw 0", "raw xx", "raw \"\"", "raw 00 00"}) {
        EXPECT_THROW(Parse(text), std::invalid_argument) << text;
    }
}

class MisbehavioursTest : public ::testing::Test {
  protected:
    void Add(const char* text) { misbehaviours_.Add(Parse(text)); }

    static std::vector<std::string> Texts(const std::vector<Misbehaviour>& faults) {
        std::vector<std::string> texts;
        texts.reserve(faults.size());
        for (const Misbehaviour& one : faults) {
            texts.push_back(one.Text());
        }
        return texts;
    }

    std::vector<std::string> Take(const RequestFacts& facts) {
        return Texts(misbehaviours_.Take(facts));
    }
    std::vector<std::string> List() const { return Texts(misbehaviours_.List()); }

    CMisbehaviours misbehaviours_;
};

TEST_F(MisbehavioursTest, FaultWithoutCountHoldsUntilCleared) {
    Add("drop");

    EXPECT_THAT(Take(KillOver(Transport::kLpc)), ElementsAre("drop"));
    EXPECT_THAT(Take(KillOver(Transport::kAlpc)), ElementsAre("drop"));
    misbehaviours_.Clear(Fault::kDrop);
    EXPECT_THAT(Take(KillOver(Transport::kLpc)), IsEmpty());
}

TEST_F(MisbehavioursTest, CountedFaultIsGoneAfterItsRequests) {
    Add("drop for=2");

    EXPECT_THAT(Take(KillOver(Transport::kLpc)), ElementsAre("drop for=2"));
    EXPECT_THAT(List(), ElementsAre("drop for=1"));
    EXPECT_THAT(Take(KillOver(Transport::kLpc)), ElementsAre("drop for=1"));
    EXPECT_THAT(List(), IsEmpty());
}

TEST_F(MisbehavioursTest, RequestThatDoesNotFitCountsNothingDown) {
    Add("drop for=1 transport=alpc");
    Add("hang for=1 function=RESTART_FDE");
    Add("die for=1 inner=33");

    EXPECT_THAT(Take(KillOver(Transport::kLpc)), IsEmpty());
    EXPECT_EQ(3u, List().size());
}

TEST_F(MisbehavioursTest, PingStaysHealthyUnlessNamed) {
    Add("drop");
    Add("code 1 command=0");
    Add("delay 5 command=any");

    EXPECT_THAT(Take(Ping()), ElementsAre("code 1 command=0", "delay 5 command=any"));
}

TEST_F(MisbehavioursTest, FaultsOfTheSameKindAndLimitsReplaceEachOther) {
    Add("status 14 for=3");
    Add("status 18");

    EXPECT_THAT(List(), ElementsAre("status 18"));
}

TEST_F(MisbehavioursTest, OfOneKindTheOldestThatFitsIsTaken) {
    Add("status 14 for=1 transport=lpc");
    Add("status 18");

    EXPECT_THAT(Take(KillOver(Transport::kLpc)), ElementsAre("status 14 for=1 transport=lpc"));
    EXPECT_THAT(Take(KillOver(Transport::kLpc)), ElementsAre("status 18"));
}

TEST_F(MisbehavioursTest, ViewFaultsAreForTheAdvancedPort) {
    Add("view-missing");
    Add("view-small");

    EXPECT_THAT(Take(KillOver(Transport::kLpc)), IsEmpty());
    EXPECT_THAT(Take(KillOver(Transport::kAlpc)), ElementsAre("view-missing", "view-small"));
}

TEST_F(MisbehavioursTest, AbsentPortFitsNoRequestAndIsOfferedAgainOnceAllIsCleared) {
    Add("no-alpc");

    EXPECT_FALSE(misbehaviours_.Offers(Transport::kAlpc));
    EXPECT_TRUE(misbehaviours_.Offers(Transport::kLpc));
    EXPECT_THAT(Take(KillOver(Transport::kAlpc)), IsEmpty());
    misbehaviours_.Clear();
    EXPECT_TRUE(misbehaviours_.Offers(Transport::kAlpc));
}

}  // namespace
}  // namespace Kyr::Lab::SimProduct
