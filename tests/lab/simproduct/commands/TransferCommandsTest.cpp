#include <gmock/gmock.h>

#include "lab/simproduct/commands/TransferCommands.h"
#include "tests/lab/common/LineList.h"
#include "tests/support/HexBytes.h"

namespace Kyr::Lab::SimProduct {
namespace {

using namespace Test;
using ::testing::ElementsAre;

class TransferCommandsTest : public ::testing::Test {
  protected:
    Bytes Ask(std::uint32_t number, const Bytes& body = {}) {
        InnerAction action;
        action.inner.command = number;
        action.inner.body = body;
        return EncodeReply(
            CInnerCommands({TransferCommands(configuration_, lines_.Sink())}).Perform(action));
    }

    CLineList lines_;
    CConfiguration configuration_;
};

TEST_F(TransferCommandsTest, ImportReplacesTheConfigurationWithoutPayload) {
    EXPECT_EQ(HexBytes("0C 00 00 00 00 00 00 00 00 00 00 00"), Ask(0x6D, TextBytes("abc")));

    EXPECT_EQ("abc", configuration_.Text());
    EXPECT_THAT(lines_.Take(), ElementsAre("did action=import length=3"));
}

TEST_F(TransferCommandsTest, ImportMayHoldAnyBytes) {
    Ask(0x6D, HexBytes("00 FF 00"));

    EXPECT_EQ(std::string("\0\xFF\0", 3), configuration_.Text());
}

TEST_F(TransferCommandsTest, ExportIsTheConfigurationBehindItsLength) {
    configuration_.Replace("abc");

    EXPECT_EQ(HexBytes("0C 00 00 00 00 00 00 00 03 00 00 00 61 62 63"), Ask(0x6E));
    EXPECT_THAT(lines_.Take(), ElementsAre("did action=export length=3"));
}

TEST_F(TransferCommandsTest, ExportOfNothingHasNoPayload) {
    configuration_.Replace("");

    EXPECT_EQ(HexBytes("0C 00 00 00 00 00 00 00 00 00 00 00"), Ask(0x6E));
}

}  // namespace
}  // namespace Kyr::Lab::SimProduct
