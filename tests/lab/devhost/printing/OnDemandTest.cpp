#include <gmock/gmock.h>
#include <stdexcept>

#include "lab/devhost/printing/OnDemand.h"
#include "tests/lab/common/LineList.h"

namespace Kyr::Test {
namespace {

using Lab::CLine;
using Lab::DevHost::OnDemand;
using Lab::DevHost::ParseDemand;
using ::testing::ElementsAre;

/// What is left of an event of each kind that is told on demand, and of one that always is.
std::vector<std::string> Left(const std::set<std::string>& asked) {
    Lab::CLineList events;
    const Lab::LineSink sink = OnDemand(events.Sink(), asked);
    for (const char* kind :
         {"publish", "resource", "mapper", "subscribe", "read", "write", "message", "record"}) {
        sink(CLine(kind));
    }
    return events.Texts();
}

TEST(OnDemandTest, OnlyWhatIsAskedForIsToldBesideTheOthers) {
    EXPECT_THAT(Left({}), ElementsAre("publish"));
    EXPECT_THAT(Left(ParseDemand("write,mapper")), ElementsAre("publish", "mapper", "write"));
    EXPECT_THAT(Left(ParseDemand("resource,subscribe,read,message,record")),
                ElementsAre("publish", "resource", "subscribe", "read", "message", "record"));
}

TEST(OnDemandTest, KindThatIsNotToldOnDemandIsRefused) {
    for (const char* kinds : {"", "publish", "read,", "read write"}) {
        EXPECT_THROW(ParseDemand(kinds), std::invalid_argument) << kinds;
    }
    try {
        ParseDemand("reads");
        FAIL() << "no exception";
    } catch (const std::invalid_argument& problem) {
        EXPECT_STREQ(
            "not told on demand: \"reads\"; there are mapper, message, read, record, resource, "
            "subscribe, write",
            problem.what());
    }
}

}  // namespace
}  // namespace Kyr::Test
