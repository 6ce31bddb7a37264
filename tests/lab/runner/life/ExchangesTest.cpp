#include <gmock/gmock.h>

#include "lab/runner/life/Tellers.h"
#include "tests/lab/runner/life/ToldLife.h"

namespace Kyr::Lab::Runner {
namespace {

using ::testing::IsEmpty;
using ::testing::Optional;

TEST(ExchangesTest, ReplyAnswersTheRequestOfItsNumber) {
    LifePage::Life life =
        ToldLife({"1 product request id=1 command=3 inner=33 name=status",
                  "2 product request id=2 command=0", "3 product reply id=1 status=0"});
    JoinExchanges(life);
    EXPECT_THAT(life.events[2].answers, Optional(0U));
    EXPECT_EQ(life.events[1].answers, std::nullopt);
}

TEST(ExchangesTest, ReplyToNothingAnswersNothing) {
    LifePage::Life life =
        ToldLife({"1 product reply id=9 status=0 bytes=0c0000000000000000000000"});
    JoinExchanges(life);
    EXPECT_EQ(life.events[0].answers, std::nullopt);
    EXPECT_EQ(life.events[0].parts.size(), 3U);
}

TEST(ExchangesTest, BytesOfBothAreTakenApart) {
    LifePage::Life life = ToldLife(
        {"1 product request id=1 command=3 inner=110 name=export bytes=0c000000000600016e000000",
         "2 product reply id=1 status=0 bytes=0c0000000000000002000000613d"});
    JoinExchanges(life);
    const auto& request = life.events[0].parts;
    ASSERT_EQ(request.size(), 3U);
    EXPECT_EQ(request[2].offset, 8U);
    EXPECT_EQ(request[2].length, 4U);
    EXPECT_EQ(request[2].name, "command");
    const auto& reply = life.events[1].parts;
    ASSERT_EQ(reply.size(), 4U);
    EXPECT_EQ(reply[3].offset, 12U);
    EXPECT_EQ(reply[3].value, "\"a=\"");
    EXPECT_THAT(reply[3].wrong, IsEmpty());
}

TEST(ExchangesTest, WhatIsWrongWithBytesIsTold) {
    LifePage::Life life = ToldLife({"1 product request id=1 command=3 inner=33 name=status",
                                    "2 product reply id=1 status=0 bytes=0c000000"});
    JoinExchanges(life);
    EXPECT_NE(life.events[1].parts.back().wrong, "");
}

}  // namespace
}  // namespace Kyr::Lab::Runner
