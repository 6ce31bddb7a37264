#include <gtest/gtest.h>

#include "kelcomm/messages/CommandHeader.h"
#include "tests/support/HexBytes.h"

namespace Kyr::Connectors::Common::Kelcomm::Messages {
namespace {

using Test::HexBytes;

TEST(CommandHeaderTest, HeaderIsSizeMarkerAndCommand) {
    EXPECT_EQ(MakeRequest(Command::ExportConfiguration),
              HexBytes("0C 00 00 00 00 06 00 01 6E 00 00 00"));
}

TEST(CommandHeaderTest, BodyFollowsWithoutTerminator) {
    EXPECT_EQ(MakeRequest(Command::ImportConfiguration, "abc"),
              HexBytes("0C 00 00 00 00 06 00 01 6D 00 00 00 61 62 63"));
}

TEST(CommandHeaderTest, BodyMayHoldZeros) {
    EXPECT_EQ(MakeRequest(Command::Xml, std::string("\0a\0", 3)),
              HexBytes("0C 00 00 00 00 06 00 01 02 00 00 00 00 61 00"));
}

TEST(CommandHeaderTest, RequestTakesNoMoreRoomThanItNeeds) {
    EXPECT_EQ(MakeRequest(Command::Xml, "abc").capacity(), 15u);
}

TEST(CommandHeaderTest, CommandsHaveTheProductsNumbers) {
    EXPECT_EQ(static_cast<std::uint32_t>(Command::Xml), 2u);
    EXPECT_EQ(static_cast<std::uint32_t>(Command::GetStatus), 33u);
    EXPECT_EQ(static_cast<std::uint32_t>(Command::ImportConfiguration), 109u);
    EXPECT_EQ(static_cast<std::uint32_t>(Command::ExportConfiguration), 110u);
    EXPECT_EQ(static_cast<std::uint32_t>(Command::GetTaskStatus), 112u);
    EXPECT_EQ(static_cast<std::uint32_t>(Command::SendAgentUUID), 154u);
    EXPECT_EQ(static_cast<std::uint32_t>(Command::GetEcsIndicatorLogs), 0x00100000u);
    EXPECT_EQ(static_cast<std::uint32_t>(Command::GetRemediationActions), 0x00100001u);
    EXPECT_EQ(static_cast<std::uint32_t>(Command::GetEcsTelemetryLogs), 0x00100002u);
}

TEST(CommandHeaderTest, HighCommandKeepsItsByteOrder) {
    EXPECT_EQ(MakeRequest(Command::GetEcsTelemetryLogs),
              HexBytes("0C 00 00 00 00 06 00 01 02 00 10 00"));
}

}  // namespace
}  // namespace Kyr::Connectors::Common::Kelcomm::Messages
