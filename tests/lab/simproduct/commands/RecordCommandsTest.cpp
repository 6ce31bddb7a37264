#include <gmock/gmock.h>

#include "lab/simproduct/commands/RecordCommands.h"
#include "tests/lab/common/LineList.h"
#include "tests/support/HexBytes.h"

namespace Kyr::Lab::SimProduct {
namespace {

using Test::HexBytes;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class RecordCommandsTest : public ::testing::Test {
  protected:
    void Append(RecordKind kind, const std::string& text, std::int32_t type = 0) {
        lists_.Append(kind, [&](std::uint64_t) { return ProductRecord{text, type}; });
    }

    /// The reply to a request of that command with that message.
    Bytes Fetch(std::uint32_t command, const Bytes& message) {
        InnerAction action;
        action.inner.command = command;
        action.inner.body = message;
        return EncodeReply(commands_.Perform(action));
    }

    CRecordLists lists_;
    CLineList lines_;
    const CInnerCommands commands_{{RecordCommands(lists_, lines_.Sink())}};
};

TEST_F(RecordCommandsTest, IndicatorsComeInOrder) {
    Append(RecordKind::kIndicator, "ab");
    Append(RecordKind::kIndicator, "c");

    EXPECT_EQ(HexBytes("0C 00 00 00 00 00 00 00 07 00 00 00"
                       "0A 02 61 62"
                       "0A 01 63"),
              Fetch(0x00100000, {}));
}

TEST_F(RecordCommandsTest, TelemetryBehindTheOffsetComes) {
    Append(RecordKind::kTelemetry, "ab");
    Append(RecordKind::kTelemetry, "c");

    EXPECT_EQ(HexBytes("0C 00 00 00 00 00 00 00 03 00 00 00"
                       "0A 01 63"),
              Fetch(0x00100002, HexBytes("08 01")));
}

TEST_F(RecordCommandsTest, ActionsCarryTypeAndText) {
    Append(RecordKind::kAction, "ab", 3);

    EXPECT_EQ(HexBytes("0C 00 00 00 00 00 00 00 08 00 00 00"
                       "0A 06 08 03 12 02 61 62"),
              Fetch(0x00100001, {}));
}

TEST_F(RecordCommandsTest, NegativeActionTypeIsWidened) {
    Append(RecordKind::kAction, "", -1);

    EXPECT_EQ(HexBytes("0C 00 00 00 00 00 00 00 0F 00 00 00"
                       "0A 0D 08 FF FF FF FF FF FF FF FF FF 01 12 00"),
              Fetch(0x00100001, {}));
}

TEST_F(RecordCommandsTest, WithoutNewRecordsThereIsNoPayload) {
    Append(RecordKind::kIndicator, "ab");

    EXPECT_EQ(HexBytes("0C 00 00 00 00 00 00 00 00 00 00 00"),
              Fetch(0x00100000, HexBytes("08 01")));
    EXPECT_THAT(lines_.Take(), IsEmpty());
}

TEST_F(RecordCommandsTest, BatchIsToldBeforeItGoesOut) {
    Append(RecordKind::kTelemetry, "ab");
    Append(RecordKind::kTelemetry, "c");
    Append(RecordKind::kTelemetry, "d");

    Fetch(0x00100002, HexBytes("08 01"));

    EXPECT_THAT(lines_.Take(), ElementsAre("handed kind=telemetry from=2 records=2"));
}

TEST_F(RecordCommandsTest, BatchThatIsAskedForAgainIsTheSameAndToldAgain) {
    Append(RecordKind::kIndicator, "ab");

    const Bytes batch = HexBytes("0C 00 00 00 00 00 00 00 04 00 00 00 0A 02 61 62");
    EXPECT_EQ(batch, Fetch(0x00100000, {}));
    EXPECT_EQ(batch, Fetch(0x00100000, {}));
    EXPECT_THAT(lines_.Take(), ElementsAre("handed kind=indicator from=1 records=1",
                                           "handed kind=indicator from=1 records=1"));
}

TEST_F(RecordCommandsTest, RecordsThatCameMeanwhileAreInTheNextBatch) {
    Append(RecordKind::kIndicator, "ab");
    Fetch(0x00100000, {});
    Append(RecordKind::kIndicator, "c");

    EXPECT_EQ(HexBytes("0C 00 00 00 00 00 00 00 07 00 00 00"
                       "0A 02 61 62"
                       "0A 01 63"),
              Fetch(0x00100000, {}));
}

TEST_F(RecordCommandsTest, AnotherOffsetOrKindIsAnotherBatch) {
    Append(RecordKind::kIndicator, "ab");
    Append(RecordKind::kTelemetry, "d");
    Append(RecordKind::kIndicator, "c");
    Fetch(0x00100000, {});

    EXPECT_EQ(HexBytes("0C 00 00 00 00 00 00 00 03 00 00 00 0A 01 63"),
              Fetch(0x00100000, HexBytes("08 01")));
    EXPECT_EQ(HexBytes("0C 00 00 00 00 00 00 00 03 00 00 00 0A 01 64"), Fetch(0x00100002, {}));
}

TEST_F(RecordCommandsTest, NewLimitHoldsForTheSameOffset) {
    Append(RecordKind::kIndicator, "ab");
    Append(RecordKind::kIndicator, "c");
    Fetch(0x00100000, {});
    lists_.SetLimit({1, 1000});

    EXPECT_EQ(HexBytes("0C 00 00 00 00 00 00 00 04 00 00 00 0A 02 61 62"), Fetch(0x00100000, {}));
}

TEST_F(RecordCommandsTest, RequestThatIsNoMessageIsMalformed) {
    EXPECT_THROW(Fetch(0x00100000, HexBytes("08")), CMalformed);
}

TEST_F(RecordCommandsTest, ResultCodeIsTheSecondField) {
    EXPECT_EQ(HexBytes("10 07"), EncodeResultCode(7));
    EXPECT_EQ(HexBytes("10 00"), EncodeResultCode(0));
}

}  // namespace
}  // namespace Kyr::Lab::SimProduct
