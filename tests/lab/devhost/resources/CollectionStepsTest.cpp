#include <gtest/gtest.h>

#include "tests/lab/devhost/HostFixture.h"
#include "tests/support/ThrownText.h"

namespace Kyr::Test {
namespace {

/// A host that dies on request, which is told with what it has stored.
class CollectionStepsTest : public HostFixture {};

constexpr char kRefuseOneOffset[] =
    "> sql CREATE TRIGGER refuse BEFORE INSERT ON key_values WHEN NEW.value = '7' BEGIN SELECT "
    "RAISE(ABORT, 'refused'); END";
constexpr char kRefuseOneAction[] =
    "> sql CREATE TRIGGER refuse BEFORE INSERT ON remediation_actions WHEN NEW.action = x'6261' "
    "BEGIN SELECT RAISE(ABORT, 'refused'); END";

const Session kSteps[] = {
    {"ReadingAnOffsetBeginsACollectionAndReadingElseDoesNot",
     {
         "> module reads XDR_OFFSET",
         "read key=XDR_OFFSET value=\"\"",
         "got value=\"\"",
         "> module reads XDR_ENABLED",
         "read key=XDR_ENABLED value=\"\"",
         "got value=\"\"",
         "> module reads XDR_TELEMETRY_OFFSET",
         "read key=XDR_TELEMETRY_OFFSET value=\"\"",
         "got value=\"\"",
         "> module reads OV_REMEDIATION_OFFSET",
         "died",
         "read key=OV_REMEDIATION_OFFSET value=\"\"",
         "got value=\"\"",
     },
     "before-request:3"},
    {"OffsetHasComeBeforeItIsStoredAndOnlyTheCountedOneIsTheWishedOne",
     {
         "> module writes XDR_ENABLED 1",
         "write key=XDR_ENABLED value=1 result=stored",
         "got value=true",
         "> module writes XDR_OFFSET 7",
         "write key=XDR_OFFSET value=7 result=stored",
         "got value=true",
         "> module writes XDR_OFFSET 8",
         "died offset=7",
         "write key=XDR_OFFSET value=8 result=stored",
         "got value=true",
         "> module writes XDR_OFFSET 9",
         "write key=XDR_OFFSET value=9 result=stored",
         "got value=true",
     },
     "before-offset:2"},
    {"RefusedOffsetIsNoStepAndAStoredOneIs",
     {
         kRefuseOneOffset,
         "> module writes XDR_OFFSET 7",
         "write key=XDR_OFFSET value=7 result=refused",
         "got value=false",
         "> module writes XDR_ENABLED 1",
         "write key=XDR_ENABLED value=1 result=stored",
         "got value=true",
         "> module writes XDR_OFFSET 8",
         "write key=XDR_OFFSET value=8 result=stored",
         "died offset=8",
         "got value=true",
     },
     "after-offset"},
    {"RecordsHaveComeBeforeTheyAreStored",
     {
         "> module publishes telemetry one",
         "died",
         "mined name=DataMinerStoreEcsTelemetryLogs records=1",
         "publish type=77 name=DataMinerStoreEcsTelemetryLogs context=1 by=module records=1",
     },
     "after-reply"},
    {"RecordsAreStoredAndPublishedBeforeTheNextStep",
     {
         "> module publishes reply",
         "publish type=688 name=Response context=1 by=module",
         "> module publishes indicators one",
         "mined name=DataMinerStoreEcsIndicatorLogs records=1",
         "publish type=76 name=DataMinerStoreEcsIndicatorLogs context=2 by=module records=1",
         "died indicators=one",
     },
     "after-publish"},
    {"ActionsHaveComeBeforeTheyAreStored",
     {
         "> module stores one",
         "died",
         "write actions=1 result=stored",
         "got value=true",
     },
     "after-reply"},
    {"RefusedActionsAreNoStepAndStoredOnesAre",
     {
         kRefuseOneAction,
         "> module stores ba",
         "write actions=1 result=refused",
         "got value=false",
         "> module stores one",
         "write actions=1 result=stored",
         "died actions=one",
         "got value=true",
     },
     "after-publish"},
    {"ReadThatIsToFailIsNoStep",
     {
         "> fail read for=1",
         "answer command=fail fault=\"read for=1\"",
         "answer command=fail faults=1",
         "> module reads XDR_OFFSET",
         "failed fault=read subject=XDR_OFFSET",
         "error command=reads text=\"the host fails to read on request\"",
         "> module reads XDR_OFFSET",
         "died",
         "read key=XDR_OFFSET value=\"\"",
         "got value=\"\"",
     },
     "before-request"},
    {"WriteThatIsToFailIsNoStepAndStoresNothing",
     {
         "> fail write for=1",
         "answer command=fail fault=\"write for=1\"",
         "answer command=fail faults=1",
         "> module writes XDR_OFFSET 7",
         "failed fault=write subject=XDR_OFFSET",
         "got value=false",
         "> module writes XDR_OFFSET 8",
         "died",
         "write key=XDR_OFFSET value=8 result=stored",
         "got value=true",
     },
     "before-offset"},
    {"OffsetThatIsReadAgainBehindTheRecordsBeginsNoCollection",
     {
         "> module reads XDR_OFFSET",
         "read key=XDR_OFFSET value=\"\"",
         "got value=\"\"",
         "> module publishes telemetry one",
         "mined name=DataMinerStoreEcsTelemetryLogs records=1",
         "publish type=77 name=DataMinerStoreEcsTelemetryLogs context=1 by=module records=1",
         "> module reads XDR_OFFSET",
         "read key=XDR_OFFSET value=\"\"",
         "got value=\"\"",
         "> module writes XDR_OFFSET 1",
         "write key=XDR_OFFSET value=1 result=stored",
         "got value=true",
         "> module reads XDR_OFFSET",
         "died offset=1 telemetry=one",
         "read key=XDR_OFFSET value=1",
         "got value=1",
     },
     "before-request:2"},
};

TEST_P(CollectionStepsTest, StepHasItsPlace) {
    Play();
}

INSTANTIATE_TEST_SUITE_P(All, CollectionStepsTest, ::testing::ValuesIn(kSteps),
                         [](const auto& row) { return row.param.name; });

TEST(DeathWishTest, UnknownStepIsRefused) {
    for (const char* wish : {"after-lunch", "after-reply:", ""}) {
        EXPECT_THROW(Lab::DevHost::ParseDeathWish(wish), std::invalid_argument) << wish;
    }
    EXPECT_EQ(
        ThrownText<std::invalid_argument>([] { Lab::DevHost::ParseDeathWish("after-lunch:2"); }),
        "no such step: \"after-lunch\"; there are before-request, after-reply, "
        "after-publish, before-offset, after-offset");
}

}  // namespace
}  // namespace Kyr::Test
