// Advanced ports: connecting, requests and replies, one-way messages, limits, ids, time-outs.
#include "tests/portlayer/AlpcTest.h"

namespace Kyr::Test {

namespace {

using namespace NtApi;

class AlpcExchangeTest : public CAlpcTest {};
INSTANTIATE_TEST_SUITE_P(Backends, AlpcExchangeTest, Backends(), BackendName);

TEST_P(AlpcExchangeTest, RequestIsAnsweredWithTheServersData) {
    Serve([](CAlpcCall& call) {
        if (Kind(call.message.data()) == kLpcRequest) {
            EXPECT_EQ(call.Data(), ToBytes("question"));
            EXPECT_EQ(call.Reply(ToBytes("answer")), kStatusSuccess);
        }
    });
    const Handle port = Connect();
    EXPECT_EQ(Ask(port, ToBytes("question")), ToBytes("answer"));
    EXPECT_EQ(Ports().CloseHandle(port), 1);
}

TEST_P(AlpcExchangeTest, LargeReplyComesInAView) {
    const Bytes large = Pattern(200000);
    Serve([&](CAlpcCall& call) {
        if (Kind(call.message.data()) == kLpcRequest) {
            EXPECT_EQ(call.ReplyWithView(ToBytes("see view"), large), kStatusSuccess);
        }
    });
    const Handle port = Connect();
    Bytes reply;
    CAttributes received(Ports());
    ASSERT_EQ(Exchange(port, AlpcMessage({}), reply, nullptr, &received), kStatusSuccess);
    ASSERT_TRUE(received.HasView());
    const AlpcDataViewAttr& view = received.View();
    ASSERT_EQ(view.ViewSize, large.size());
    EXPECT_EQ(view.Flags & kAlpcViewSecured, kAlpcViewSecured);
    EXPECT_EQ(std::memcmp(view.ViewBase, large.data(), large.size()), 0);
    EXPECT_EQ(Get<std::uint16_t>(reply.data(), 4), 0x2002);
    received.View().Flags |= kAlpcViewUnmapExisting;
    EXPECT_EQ(Release(port, reply, &received), kStatusSuccess);
    EXPECT_EQ(Ports().CloseHandle(port), 1);
}

}  // namespace

}  // namespace Kyr::Test
