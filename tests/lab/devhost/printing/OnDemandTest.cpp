#include <gmock/gmock.h>

#include "lab/devhost/printing/OnDemand.h"
#include "tests/lab/common/LineList.h"

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

}  // namespace
}  // namespace Kyr::Test
