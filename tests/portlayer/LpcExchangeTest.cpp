// Legacy ports: connecting, requests and replies, one-way messages, limits, ids.
#include <atomic>
#include <future>
#include <unistd.h>

#include "tests/portlayer/LpcTest.h"

namespace Kyr::Test {

namespace {

using namespace NtApi;

class LpcExchangeTest : public CLpcTest {};
INSTANTIATE_TEST_SUITE_P(Backends, LpcExchangeTest, Backends(), BackendName);

TEST_P(LpcExchangeTest, RequestIsAnsweredWithTheServersData) {
    Serve([](CLpcCall& call) {
        if (Kind(call.message.data()) == kLpcRequest) {
            EXPECT_EQ(call.Data(), ToBytes("question"));
            EXPECT_EQ(call.Reply(ToBytes("answer")), kStatusSuccess);
        }
    });
    const Handle port = Connect();
    EXPECT_EQ(Ask(port, ToBytes("question")), ToBytes("answer"));
    EXPECT_EQ(Ports().CloseHandle(port), 1);
}

}  // namespace

}  // namespace Kyr::Test
