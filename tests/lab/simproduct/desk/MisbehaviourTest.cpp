#include <gtest/gtest.h>
#include <stdexcept>

#include "lab/common/CommandWords.h"
#include "lab/simproduct/desk/Misbehaviour.h"

namespace Kyr::Lab::SimProduct {
namespace {

Misbehaviour Parse(const std::string& text) {
    return ParseMisbehaviour(SplitWords(text));
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

using Texts = std::vector<std::string>;

Texts TextsOf(const std::vector<Misbehaviour>& faults) {
    Texts texts;
    texts.reserve(faults.size());
    for (const Misbehaviour& one : faults) {
        texts.push_back(one.Text());
    }
    return texts;
}

const CLine kPing = CLine("request").With("transport", "lpc").With("command", 0);

CLine KillOver(const char* transport) {
    return CLine("request")
        .With("transport", transport)
        .With("command", 3)
        .With("inner", 2)
        .With("function", "KILL_PROCESS_BY_PID");
}
const CLine kLpc = KillOver("lpc");
const CLine kAlpc = KillOver("alpc");

struct Faulty {
    const char* name;  // situation and outcome
    std::vector<const char*> faults;
    std::vector<std::pair<CLine, Texts>> requests;  // and the faults that each one takes
    Texts left;
};

const Faulty kFaulty[] = {
    {"FaultWithoutCountHolds", {"drop"}, {{kLpc, {"drop"}}, {kAlpc, {"drop"}}}, {"drop"}},
    {"CountedFaultIsGoneAfterItsRequests",
     {"drop for=2"},
     {{kLpc, {"drop for=2"}}, {kLpc, {"drop for=1"}}, {kLpc, {}}},
     {}},
    {"RequestThatDoesNotFitCountsNothingDown",
     {"drop for=1 transport=alpc", "hang for=1 function=RESTART_FDE", "die for=1 inner=33"},
     {{kLpc, {}}},
     {"drop for=1 transport=alpc", "hang for=1 function=RESTART_FDE", "die for=1 inner=33"}},
    {"PingStaysHealthyUnlessNamed",
     {"drop", "code 1 command=0", "delay 5 command=any", "hang inner=2 command=any"},
     {{kPing, {"delay 5 command=any", "code 1 command=0"}}},
     {"drop", "code 1 command=0", "delay 5 command=any", "hang command=any inner=2"}},
    {"FaultsOfTheSameKindAndLimitsReplaceEachOther",
     {"status 14 for=3", "status 18"},
     {},
     {"status 18"}},
    {"OfOneKindTheOldestThatFitsIsTaken",
     {"status 14 for=1 transport=lpc", "status 18"},
     {{kLpc, {"status 14 for=1 transport=lpc"}}, {kLpc, {"status 18"}}},
     {"status 18"}},
    {"ViewFaultsAreForTheAdvancedPort",
     {"view-small", "view-missing"},
     {{kLpc, {}}, {kAlpc, {"view-missing", "view-small"}}},
     {"view-small", "view-missing"}},
    {"AbsentPortFitsNoRequest", {"no-alpc"}, {{kAlpc, {}}}, {"no-alpc"}},
};

class MisbehavioursTest : public ::testing::TestWithParam<Faulty> {};

TEST_P(MisbehavioursTest, RequestTakesTheFaultsThatFitIt) {
    CMisbehaviours misbehaviours;
    for (const char* fault : GetParam().faults) {
        misbehaviours.Add(Parse(fault));
    }
    for (const auto& [request, taken] : GetParam().requests) {
        EXPECT_EQ(taken, TextsOf(misbehaviours.Take(request)));
    }
    EXPECT_EQ(GetParam().left, TextsOf(misbehaviours.List()));
}

INSTANTIATE_TEST_SUITE_P(All, MisbehavioursTest, ::testing::ValuesIn(kFaulty),
                         [](const auto& row) { return row.param.name; });

TEST(OffersTest, PortIsOfferedAgainOnceAllFaultsAreCleared) {
    CMisbehaviours misbehaviours;
    misbehaviours.Add(Parse("no-alpc"));
    EXPECT_FALSE(misbehaviours.Offers(Transport::kAlpc));
    EXPECT_TRUE(misbehaviours.Offers(Transport::kLpc));
    misbehaviours.Clear();
    EXPECT_TRUE(misbehaviours.Offers(Transport::kAlpc));
}

}  // namespace
}  // namespace Kyr::Lab::SimProduct
