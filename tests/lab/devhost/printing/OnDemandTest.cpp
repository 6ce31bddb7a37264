#include <gmock/gmock.h>

#include "lab/devhost/printing/OnDemand.h"
#include "tests/lab/common/LineList.h"
#include "tests/support/ThrownText.h"

namespace Kyr::Test {
namespace {

using ::testing::ElementsAre;

/// What is left of an event of each kind that is told on demand, and of one that always is.
std::vector<std::string> Left(const std::set<std::string>& asked) {
    Lab::CLineList events;
    const Lab::LineSink sink = Lab::DevHost::OnDemand(events.Sink(), asked);
    for (const char* kind :
         {"publish", "resource", "mapper", "subscribe", "read", "write", "message", "record"}) {
        sink(Lab::CLine(kind));
    }
    return events.Texts();
}

TEST(OnDemandTest, OnlyWhatIsAskedForIsToldBesideTheOthers) {
    EXPECT_THAT(Left({}), ElementsAre("publish"));
    EXPECT_THAT(Left({"write", "mapper"}), ElementsAre("publish", "mapper", "write"));
    EXPECT_THAT(Left({"resource", "subscribe", "read", "message", "record"}),
                ElementsAre("publish", "resource", "subscribe", "read", "message", "record"));
}

TEST(OnDemandTest, KindThatIsNotToldOnDemandIsRefused) {
    for (const char* kinds : {"", "publish", "read,", "read write"}) {
        EXPECT_THROW(Lab::DevHost::ParseDemand(kinds), std::invalid_argument) << kinds;
    }
    EXPECT_EQ(ThrownText<std::invalid_argument>([] { Lab::DevHost::ParseDemand("reads"); }),
              "no such kind told on demand: \"reads\"; there are mapper, message, read, record, "
              "resource, "
              "subscribe, write");
}

}  // namespace
}  // namespace Kyr::Test
