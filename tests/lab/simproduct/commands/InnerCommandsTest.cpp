#include <gtest/gtest.h>

#include "lab/simproduct/commands/InnerCommands.h"
#include "tests/support/HexBytes.h"

namespace Kyr::Lab::SimProduct {
namespace {

using Test::HexBytes;

InnerCommand Command(std::uint32_t number, const char* name) {
    return {number, name, [](const InnerAction& action) {
                InnerReply reply;
                reply.payload = action.inner.body;
                return reply;
            }};
}

InnerAction Action(std::uint32_t number) {
    InnerAction action;
    action.inner.command = number;
    action.inner.body = {0xAB};
    return action;
}

TEST(InnerCommandsTest, RowOfEveryGroupIsServed) {
    const CInnerCommands commands({{Command(1, "one")}, {Command(2, "two"), Command(3, "three")}});

    EXPECT_EQ(Bytes{0xAB}, commands.Perform(Action(1)).payload);
    EXPECT_EQ(Bytes{0xAB}, commands.Perform(Action(3)).payload);
}

TEST(InnerCommandsTest, UnknownCommandIsAnErrorStatus) {
    const CInnerCommands commands({{Command(1, "one")}});

    EXPECT_EQ(HexBytes("0C 00 00 00 01 00 00 00 00 00 00 00"),
              EncodeReply(commands.Perform(Action(0x6D))));
}

TEST(InnerCommandsTest, NamesAreForPeople) {
    const CInnerCommands commands({{Command(1, "one")}, {Command(2, "two")}});

    EXPECT_STREQ("two", commands.NameOf(2));
    EXPECT_STREQ("unknown", commands.NameOf(0x6D));
}

TEST(EncodeReplyTest, PayloadStandsBehindItsLength) {
    InnerReply reply;
    reply.payload = {0xAA, 0xBB};
    EXPECT_EQ(HexBytes("0C 00 00 00 00 00 00 00 02 00 00 00 AA BB"), EncodeReply(reply));
}

}  // namespace
}  // namespace Kyr::Lab::SimProduct
