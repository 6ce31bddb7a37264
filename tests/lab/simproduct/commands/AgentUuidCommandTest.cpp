#include <gmock/gmock.h>

#include "lab/simproduct/commands/AgentUuidCommand.h"
#include "tests/lab/common/LineList.h"
#include "tests/support/HexBytes.h"

namespace Kyr::Lab::SimProduct {
namespace {

using namespace Test;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class AgentUuidCommandTest : public ::testing::Test {
  protected:
    InnerReply Send(const Bytes& body) {
        InnerAction action;
        action.inner.command = 0x9A;
        action.inner.body = body;
        return CInnerCommands({AgentUuidCommands(lines_.Sink())}).Perform(action);
    }

    CLineList lines_;
};

// clang-format off
const Bytes kKindRecord = HexBytes("04 01 00 00  04 00 00 00  03 00 00 00");
const Bytes kUuidRecord = HexBytes("02 00 10 00  25 00 00 00")
                        + TextBytes("0f0e0d0c-0b0a-0908-0706-050403020100") + HexBytes("00");
// clang-format on

TEST_F(AgentUuidCommandTest, UuidIsToldAndAcceptedWithoutPayload) {
    const InnerReply reply = Send(kKindRecord + kUuidRecord);

    EXPECT_EQ(HexBytes("0C 00 00 00 00 00 00 00 00 00 00 00"), EncodeReply(reply));
    EXPECT_THAT(lines_.Take(),
                ElementsAre("did action=agent-uuid uuid=0f0e0d0c-0b0a-0908-0706-050403020100"));
}

TEST_F(AgentUuidCommandTest, OtherRecordsArePassedOver) {
    Send(HexBytes("07 00 00 00 01 00 00 00 FF") + kKindRecord + kUuidRecord);

    EXPECT_EQ(1u, lines_.Take().size());
}

TEST_F(AgentUuidCommandTest, BodyThatEndsInARecordIsRefused) {
    const Bytes whole = kKindRecord + kUuidRecord;
    for (std::size_t length = 0; length < whole.size(); ++length) {
        const Bytes cut(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length));
        EXPECT_THROW(Send(cut), CMalformed) << length;
    }
    EXPECT_THAT(lines_.Take(), IsEmpty());
}

TEST_F(AgentUuidCommandTest, RecordThatLiesIsRefused) {
    // A length beyond every buffer, another kind than three, an identifier without its NUL.
    EXPECT_THROW(Send(kKindRecord + HexBytes("02 00 10 00 FF FF FF FF 00")), CMalformed);
    EXPECT_THROW(Send(HexBytes("04 01 00 00 04 00 00 00 02 00 00 00") + kUuidRecord), CMalformed);
    EXPECT_THROW(Send(kKindRecord + HexBytes("02 00 10 00 01 00 00 00 41")), CMalformed);
}

}  // namespace
}  // namespace Kyr::Lab::SimProduct
