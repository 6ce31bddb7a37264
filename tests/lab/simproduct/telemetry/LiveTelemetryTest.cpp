#include <gmock/gmock.h>

#include <boost/make_shared.hpp>

#include "lab/simproduct/telemetry/LiveTelemetry.h"
#include "tests/lab/common/LineList.h"
#include "tests/support/time/ManualClock.h"

namespace Kyr::Lab::SimProduct {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

class LiveTelemetryTest : public ::testing::Test {
  protected:
    /// The record of that number, behind its tag and two bytes of length.
    std::string Record(std::uint64_t number) {
        const Bytes payload = lists_.Batch(RecordKind::kTelemetry, number - 1).payload;
        return std::string(payload.begin(), payload.end()).substr(3);
    }

    LabProcess process_{"one", 8, {"/lab/victim", "s1", "s2"}};
    CRecordLists lists_;
    CLineList lines_;
    CLiveTelemetry telemetry_{lists_, boost::make_shared<Kyr::Test::CManualClock>(), lines_.Sink()};
};

TEST_F(LiveTelemetryTest, StartAndEndAreRecordedWithWhatIsKnown) {
    telemetry_.Switch(true);
    telemetry_.Note(process_);
    process_.running = false;
    telemetry_.Note(process_);
    lists_.SetLimit({1, 1000});
    EXPECT_THAT(lines_.Take(),
                ElementsAre("observed action=process-started pid=8 name=victim number=1",
                            "observed action=process-ended pid=8 name=victim number=2"));
    EXPECT_EQ(
        Record(1),
        "{\"@timestamp\":\"2023-11-14T22:13:20Z\",\"ecs\":{\"version\":\"8.11.0\"},"
        "\"event\":{\"kind\":\"event\",\"category\":[\"process\"],\"action\":\"process-started\","
        "\"sequence\":1,\"type\":[\"start\"]},"
        "\"process\":{\"pid\":8,\"parent\":{\"pid\":" +
            std::to_string(OwnProcessId()) +
            "},\"name\":\"victim\",\"executable\":\"/lab/victim\",\"hash\":{\"sha256\":\"s2\"}}}");
    EXPECT_THAT(Record(2), HasSubstr("\"type\":[\"end\"]"));
}

}  // namespace
}  // namespace Kyr::Lab::SimProduct
