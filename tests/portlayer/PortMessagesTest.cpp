// Ports of both kinds: requests and replies, one-way messages and their limits.
#include "tests/portlayer/ServedPortFixture.h"

namespace Kyr::Test {

namespace {

using namespace NtApi;

class PortMessagesTest : public ServedPortFixture, public testing::WithParamInterface<PortKind> {
  protected:
    PortMessagesTest() : ServedPortFixture(GetParam()) {}
};

TEST_P(PortMessagesTest, RequestIsAnsweredWithTheServersData) {
    Serve(OnRequests([](ReceivedCall& call) {
        EXPECT_EQ(call.Data(), ToBytes("question"));
        EXPECT_EQ(call.Reply(ToBytes("answer")), kStatusSuccess);
    }));
    EXPECT_EQ(Ask(Connect(), ToBytes("question")), ToBytes("answer"));
}

TEST_P(PortMessagesTest, EmptyMessagesCross) {
    Serve(OnRequests(Echo));
    EXPECT_EQ(Ask(Connect(), {}), Bytes());
}

TEST_P(PortMessagesTest, LongestMessageCrossesBothWays) {
    Serve(OnRequests(Echo));
    const Bytes data = Pattern(LongestData());
    EXPECT_EQ(Ask(Connect(), data), data);
}

TEST_P(PortMessagesTest, TooLongMessageIsRefusedAndThePortGoesOn) {
    Serve(OnRequests(Echo));
    const Handle port = Connect();
    Bytes message = MakeMessage(Pattern(LongestData()));
    for (const std::size_t lengthField : {0, 2}) {
        Put<std::uint16_t>(message.data(), lengthField,
                           Get<std::uint16_t>(message.data(), lengthField) + 1);
    }
    Bytes reply;
    EXPECT_EQ(Exchange(port, message, reply), kStatusPortMessageTooLong);
    EXPECT_EQ(SendOneWay(port, message), kStatusPortMessageTooLong);
    EXPECT_EQ(Ask(port, ToBytes("x")), ToBytes("x"));
}

TEST_P(PortMessagesTest, OneWayMessageArrivesAsADatagramThatCannotBeAnswered) {
    std::promise<Bytes> received;
    Serve([&](ReceivedCall& call) {
        if (Kind(call.message.data()) == kLpcDatagram) {
            EXPECT_EQ(Get<std::uint16_t>(call.message.data(), 4), 3);
            EXPECT_EQ(call.Reply({}), NoSuchRequest());
            received.set_value(call.Data());
        }
    });
    EXPECT_EQ(SendOneWay(Connect(), MakeMessage(ToBytes("note"))), kStatusSuccess);
    EXPECT_EQ(received.get_future().get(), ToBytes("note"));
}

TEST_P(PortMessagesTest, SecondReplyFindsNoRequest) {
    std::promise<void> checked;
    Serve(OnRequests([&](ReceivedCall& call) {
        EXPECT_EQ(call.Reply(ToBytes("first")), kStatusSuccess);
        EXPECT_EQ(call.Reply(ToBytes("second")), NoSuchRequest());
        checked.set_value();
    }));
    EXPECT_EQ(Ask(Connect(), {}), ToBytes("first"));
    checked.get_future().get();
}

TEST_P(PortMessagesTest, ThreadsOfOneClientGetTheirOwnReplies) {
    Serve(OnRequests(Echo), 3);
    AskOnThreads(Connect(), 6, 150);
}

INSTANTIATE_TEST_SUITE_P(Both, PortMessagesTest,
                         testing::Values(PortKind::kLegacy, PortKind::kAdvanced), NameOfKind);

}  // namespace

}  // namespace Kyr::Test
