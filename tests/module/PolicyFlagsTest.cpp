// What the policy's flags and the product's build make the watch ask for.
#include <boost/lexical_cast/bad_lexical_cast.hpp>

#include "tests/module/WatchFixture.h"

namespace Kyr::Connectors::OvAgentConnector {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class RecordsFlagTest : public WatchFixture {
  protected:
    RecordsFlagTest() { SetXdr("1", "xdr.example"); }

    void SetXdr(const std::string& enabled, const std::string& host) {
        SetKey("XDR_ENABLED", enabled);
        SetKey("XDR_HOST", host);
    }
};

TEST_F(RecordsFlagTest, BothKindsOfRecordsAreAskedForInEveryIteration) {
    Watch(2);
    EXPECT_THAT(In(1), ElementsAre("publish 3", "publish 4"));
    EXPECT_THAT(In(2), ElementsAre("publish 3", "publish 4"));
}

TEST_F(RecordsFlagTest, EmptyHostMeansNoRecords) {
    SetXdr("1", "");
    EXPECT_THAT(WatchOnce(), IsEmpty());
}

TEST_F(RecordsFlagTest, OnlyTheTextOneCountsAsEnabled) {
    for (const char* text : {"", "0", "true", "01", "+1", "1 ", " 1", "11", "2"}) {
        SetXdr(text, "xdr.example");
        EXPECT_THAT(WatchOnce(), IsEmpty()) << text;
    }
}

TEST_F(RecordsFlagTest, ZeroByteBelongsToTheText) {
    SetXdr(std::string("1\0", 2), "xdr.example");
    EXPECT_THAT(WatchOnce(), IsEmpty());
}

TEST_F(RecordsFlagTest, AnyHostThatIsNotEmptyWillDo) {
    SetXdr("1", " ");
    EXPECT_THAT(WatchOnce(), ElementsAre("publish 3", "publish 4"));
}

TEST_F(RecordsFlagTest, FlagsAreReadAfreshInEveryIteration) {
    BeforeIteration(2, [this] { SetKey("XDR_ENABLED", "0"); });
    BeforeIteration(3, [this] { SetKey("XDR_ENABLED", "1"); });
    Watch(3);
    EXPECT_THAT(In(2), IsEmpty());
    EXPECT_THAT(In(3), ElementsAre("publish 3", "publish 4"));
}

TEST_F(RecordsFlagTest, BuildsUpTo5057GiveNeither) {
    for (const std::int64_t build : {std::int64_t{-1}, std::int64_t{0}, std::int64_t{5057}}) {
        build_ = build;
        EXPECT_THAT(WatchOnce(), IsEmpty()) << build;
    }
}

TEST_F(RecordsFlagTest, BuildsFrom5058To5542GiveIndicatorsOnly) {
    for (const std::int64_t build : {5058, 5542}) {
        build_ = build;
        journal_.clear();
        EXPECT_THAT(WatchOnce(), ElementsAre("publish 3")) << build;
    }
}

TEST_F(RecordsFlagTest, Build5543GivesBoth) {
    build_ = 5543;
    EXPECT_THAT(WatchOnce(), ElementsAre("publish 3", "publish 4"));
}

TEST_F(RecordsFlagTest, AbsentBuildGivesNeither) {
    build_.reset();
    EXPECT_THAT(WatchOnce(), IsEmpty());
}

TEST_F(RecordsFlagTest, UnreadableFlagIsToldThoughTheBuildIsAbsent) {
    build_.reset();
    for (const char* key : {"XDR_ENABLED", "XDR_HOST"}) {
        FailKey(key);
        journal_.clear();
        EXPECT_THAT(WatchOnce(),
                    ElementsAre("4 Error during checking for new ECS logs: store failed"))
            << key;
    }
}

TEST_F(RecordsFlagTest, BusThatRefusesTheIndicatorsDoesNotStopTheTelemetry) {
    refused_ = {3};
    EXPECT_THAT(
        WatchOnce(),
        ElementsAre("4 Error during checking for new ECS indicator logs: bus failed", "publish 4"));
}

TEST_F(RecordsFlagTest, BusThatRefusesTheTelemetryIsTold) {
    refused_ = {4};
    EXPECT_THAT(
        WatchOnce(),
        ElementsAre("publish 3", "4 Error during checking for new ECS telemetry logs: bus failed"));
}

TEST_F(RecordsFlagTest, UnreadableFlagIsToldAndTheActionsAreStillAskedFor) {
    SetKey("OV_REMEDIATION_ENABLED", "1");
    for (const char* key : {"XDR_ENABLED", "XDR_HOST"}) {
        FailKey(key);
        journal_.clear();
        EXPECT_THAT(
            WatchOnce(),
            ElementsAre("4 Error during checking for new ECS logs: store failed", "publish 5"))
            << key;
    }
}

class ActionsFlagTest : public WatchFixture {
  protected:
    Strings WatchWith(const std::string& flag) {
        SetKey("OV_REMEDIATION_ENABLED", flag);
        journal_.clear();
        return WatchOnce();
    }
};

TEST_F(ActionsFlagTest, NoFlagAsksForNothing) {
    EXPECT_THAT(WatchOnce(), IsEmpty());
    EXPECT_THAT(WatchWith(""), IsEmpty());
}

TEST_F(ActionsFlagTest, TrueAsksForActions) {
    for (const char* flag : {"1", "+1", "001", "+001"}) {
        EXPECT_THAT(WatchWith(flag), ElementsAre("publish 5")) << flag;
    }
}

TEST_F(ActionsFlagTest, FalseAsksForNothing) {
    for (const char* flag : {"0", "+0", "-0", "000", "-000"}) {
        EXPECT_THAT(WatchWith(flag), IsEmpty()) << flag;
    }
}

TEST_F(ActionsFlagTest, AnythingElseIsNoBoolean) {
    for (const char* flag :
         {"-1", "yes", "true", "2", "10x", "1 ", " 1", "++1", "+-1", "+", "-", "101", "1.0"}) {
        EXPECT_THAT(WatchWith(flag), ElementsAre("4 OV rule actions flag is not a bool, disabling "
                                                 "rule actions propagation"))
            << flag;
    }
}

TEST_F(ActionsFlagTest, ZeroByteBelongsToTheText) {
    for (const std::string& flag : {std::string("1\0", 2), std::string("\0"
                                                                       "1",
                                                                       2)}) {
        EXPECT_THAT(WatchWith(flag), ElementsAre("4 OV rule actions flag is not a bool, disabling "
                                                 "rule actions propagation"));
    }
}

TEST_F(ActionsFlagTest, LaterValidFlagTakesEffectAgain) {
    SetKey("OV_REMEDIATION_ENABLED", "yes");
    BeforeIteration(2, [this] { SetKey("OV_REMEDIATION_ENABLED", "1"); });
    Watch(2);
    EXPECT_THAT(In(2), ElementsAre("publish 5"));
}

TEST_F(ActionsFlagTest, ActionsDoNotDependOnTheBuild) {
    build_.reset();
    EXPECT_THAT(WatchWith("1"), ElementsAre("publish 5"));
}

TEST_F(ActionsFlagTest, BusThatRefusesIsTold) {
    refused_ = {5};
    EXPECT_THAT(WatchWith("1"),
                ElementsAre("4 Error during checking for new OV remediation actions: bus failed"));
}

TEST_F(ActionsFlagTest, BusThatFailsInAConversionDoesNotMakeTheFlagNoBoolean) {
    refused_ = {5};
    refusal_ = [] { throw boost::bad_lexical_cast(); };
    EXPECT_THAT(WatchWith("1"),
                ElementsAre("4 Error during checking for new OV remediation actions: bad lexical "
                            "cast: source type value could not be interpreted as target"));
}

TEST_F(ActionsFlagTest, UnreadableFlagIsToldInTheWordsOfTheRecords) {
    FailKey("OV_REMEDIATION_ENABLED");
    EXPECT_THAT(WatchOnce(), ElementsAre("4 Error during checking for new ECS logs: store failed"));
}

}  // namespace
}  // namespace Kyr::Connectors::OvAgentConnector
