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

class MisbehaviourTextTest : public ::testing::TestWithParam<const char*> {};

TEST_P(MisbehaviourTextTest, IsReadAndWrittenTheSame) {
    EXPECT_EQ(GetParam(), Parse(GetParam()).Text());
}

INSTANTIATE_TEST_SUITE_P(
    MisbehaviourTest, MisbehaviourTextTest,
    ::testing::Values("no-alpc", "no-lpc", "status 14", "code 1", "short 11", "header-size 16",
                      "value 7", "oversized 65537", "raw 0cff", "bad-length", "bad-length 3",
                      "delay 250", "drop", "die", "hang", "view-missing", "view-small",
                      "status 5 for=2 transport=lpc command=any inner=2 function=RESTART_FDE",
                      "code 1 command=0", "drop transport=alpc"));

class MalformedMisbehaviourTest : public ::testing::TestWithParam<const char*> {};

TEST_P(MalformedMisbehaviourTest, IsRefused) {
    EXPECT_THROW(Parse(GetParam()), std::invalid_argument);
}

INSTANTIATE_TEST_SUITE_P(MisbehaviourTest, MalformedMisbehaviourTest,
                         ::testing::Values("", "unknown", "status", "status x", "status 1 2",
                                           "status 4294967296", "drop 1", "drop for=0",
                                           "drop for=x", "drop transport=tcp", "drop when=now",
                                           "no-alpc for=1", "oversized 536870913", "raw", "raw 0",
                                           "raw xx", "raw \"\"", "raw 00 00"));

class MisbehavioursTest : public ::testing::Test {
  protected:
    std::vector<std::string> Take(const RequestFacts& facts) {
        std::vector<std::string> texts;
        for (const Misbehaviour& one : misbehaviours_.Take(facts)) {
            texts.push_back(one.Text());
        }
        return texts;
    }

    std::vector<std::string> List() const {
        std::vector<std::string> texts;
        for (const Misbehaviour& one : misbehaviours_.List()) {
            texts.push_back(one.Text());
        }
        return texts;
    }

    CMisbehaviours misbehaviours_;
};

TEST_F(MisbehavioursTest, FaultWithoutCountHoldsUntilCleared) {
    misbehaviours_.Add(Parse("drop"));

    EXPECT_THAT(Take(KillOver(Transport::kLpc)), ElementsAre("drop"));
    EXPECT_THAT(Take(KillOver(Transport::kAlpc)), ElementsAre("drop"));
    misbehaviours_.Clear(Fault::kDrop);
    EXPECT_THAT(Take(KillOver(Transport::kLpc)), IsEmpty());
}

TEST_F(MisbehavioursTest, CountedFaultIsGoneAfterItsRequests) {
    misbehaviours_.Add(Parse("drop for=2"));

    EXPECT_THAT(Take(KillOver(Transport::kLpc)), ElementsAre("drop for=2"));
    EXPECT_THAT(List(), ElementsAre("drop for=1"));
    EXPECT_THAT(Take(KillOver(Transport::kLpc)), ElementsAre("drop for=1"));
    EXPECT_THAT(List(), IsEmpty());
}

TEST_F(MisbehavioursTest, RequestThatDoesNotFitCountsNothingDown) {
    misbehaviours_.Add(Parse("drop for=1 transport=alpc"));
    misbehaviours_.Add(Parse("hang for=1 function=RESTART_FDE"));
    misbehaviours_.Add(Parse("die for=1 inner=33"));

    EXPECT_THAT(Take(KillOver(Transport::kLpc)), IsEmpty());
    EXPECT_EQ(3u, List().size());
}

TEST_F(MisbehavioursTest, PingStaysHealthyUnlessNamed) {
    misbehaviours_.Add(Parse("drop"));
    misbehaviours_.Add(Parse("code 1 command=0"));
    misbehaviours_.Add(Parse("delay 5 command=any"));

    EXPECT_THAT(Take(Ping()), ElementsAre("code 1 command=0", "delay 5 command=any"));
}

TEST_F(MisbehavioursTest, FaultsOfTheSameKindAndLimitsReplaceEachOther) {
    misbehaviours_.Add(Parse("status 14 for=3"));
    misbehaviours_.Add(Parse("status 18"));

    EXPECT_THAT(List(), ElementsAre("status 18"));
}

TEST_F(MisbehavioursTest, OfOneKindTheOldestThatFitsIsTaken) {
    misbehaviours_.Add(Parse("status 14 for=1 transport=lpc"));
    misbehaviours_.Add(Parse("status 18"));

    EXPECT_THAT(Take(KillOver(Transport::kLpc)), ElementsAre("status 14 for=1 transport=lpc"));
    EXPECT_THAT(Take(KillOver(Transport::kLpc)), ElementsAre("status 18"));
}

TEST_F(MisbehavioursTest, ViewFaultsAreForTheAdvancedPort) {
    misbehaviours_.Add(Parse("view-missing"));
    misbehaviours_.Add(Parse("view-small"));

    EXPECT_THAT(Take(KillOver(Transport::kLpc)), IsEmpty());
    EXPECT_THAT(Take(KillOver(Transport::kAlpc)), ElementsAre("view-missing", "view-small"));
}

TEST_F(MisbehavioursTest, AbsentPortIsNotOfferedAndFitsNoRequest) {
    misbehaviours_.Add(Parse("no-alpc"));

    EXPECT_FALSE(misbehaviours_.Offers(Transport::kAlpc));
    EXPECT_TRUE(misbehaviours_.Offers(Transport::kLpc));
    EXPECT_THAT(Take(KillOver(Transport::kAlpc)), IsEmpty());
}

TEST_F(MisbehavioursTest, ClearingAllOffersBothPortsAgain) {
    misbehaviours_.Add(Parse("no-lpc"));
    misbehaviours_.Add(Parse("drop"));
    misbehaviours_.Clear();

    EXPECT_TRUE(misbehaviours_.Offers(Transport::kLpc));
    EXPECT_THAT(List(), IsEmpty());
}

}  // namespace
}  // namespace Kyr::Lab::SimProduct
