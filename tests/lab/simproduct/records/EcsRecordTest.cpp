#include <gmock/gmock.h>

#include "lab/simproduct/records/EcsRecord.h"

namespace Kyr::Lab::SimProduct {
namespace {

// 1700000000 is 2023-11-14T22:13:20 UTC.
const EcsEvent kStart{12, 1700000000, "event", "process", "start", "process-started"};

TEST(EcsRecordTest, NameIsEscapedAndWhatIsNoTextLeftOut) {
    EXPECT_THAT(ProcessRecord(kStart, {77, 0, "a\"b\xFF\xC3\xA9", "", ""}),
                ::testing::HasSubstr("\"name\":\"a\\\"b\xC3\xA9\""));
}

TEST(EcsRecordTest, SampleHasTheWantedSizeOrAnEmptyMessage) {
    EXPECT_EQ(1024u, SampleRecord(kStart, 1024).size());
    EXPECT_THAT(SampleRecord(kStart, 1), ::testing::HasSubstr(",\"message\":\"\"}"));
}

TEST(EcsRecordTest, TimeBeyondThirtyTwoBitsIsWritten) {
    EXPECT_EQ("1970-01-01T00:00:00Z", IsoTime(0));
    EXPECT_EQ("2106-02-07T06:28:16Z", IsoTime(4294967296));
}

}  // namespace
}  // namespace Kyr::Lab::SimProduct
