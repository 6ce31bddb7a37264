#include <gtest/gtest.h>
#include <stdexcept>

#include <boost/make_shared.hpp>
#include <boost/thread/thread.hpp>

#include "connector/ReplyProcessor.h"
#include "tests/support/ThrownText.h"
#include "tests/support/host/FakeHost.h"
#include "tests/support/host/TestMessage.h"
#include "tests/support/time/ManualClock.h"

namespace Kyr::Common::Module {
namespace {

using namespace Kyr::Test;
using std::chrono::seconds;

class ReplyProcessorTest : public testing::Test {
  protected:
    const boost::shared_ptr<CManualClock> clock = boost::make_shared<CManualClock>();
    CReplyProcessor replies{boost::make_shared<Kyr::Test::CFakeBus>(),
                            boost::make_shared<Kyr::Test::CFakeIdGenerator>(), clock};
};

TEST_F(ReplyProcessorTest, MessageThatIsNoResponseIsRefused) {
    const auto message = MakeMessage("A", Kernel::MessageType::Response);
    EXPECT_EQ(ThrownText([&] { replies.Process(message); }),
              "Bad cast to Kyr::Common::Module::CResponse");
}

TEST_F(ReplyProcessorTest, ResponseThatNobodyWaitsForIsDropped) {
    EXPECT_NO_THROW(replies.Process(boost::make_shared<CResponse>(7)));
    EXPECT_EQ(replies.WaitForReply(7, seconds(1)), nullptr);
}

TEST_F(ReplyProcessorTest, RequestGetsAnIdentifierOfTheHost) {
    EXPECT_EQ(replies.Expect(), 1u);
    EXPECT_EQ(replies.Expect(), 2u);
}

TEST_F(ReplyProcessorTest, ResponseReachesTheRequestWithItsIdentifier) {
    const std::uint32_t first = replies.Expect();
    const std::uint32_t second = replies.Expect();
    const auto response = boost::make_shared<CResponse>(second);
    replies.Process(response);
    EXPECT_EQ(replies.WaitForReply(second, seconds(1)), response);
    replies.Process(boost::make_shared<CResponse>(first, Kernel::MessageType::Reply));
    EXPECT_NE(replies.WaitForReply(first, seconds(1)), nullptr);
}

TEST_F(ReplyProcessorTest, ResponseWakesTheRequestThatWaits) {
    const std::uint32_t request = replies.Expect();
    boost::shared_ptr<CResponse> received;
    boost::thread requester([&] { received = replies.WaitForReply(request, seconds(30)); });
    ASSERT_TRUE(clock->AwaitWaiters(1));
    replies.Process(boost::make_shared<CResponse>(request));
    requester.join();
    ASSERT_NE(received, nullptr);
    EXPECT_EQ(received->GetRequestId(), request);
}

TEST_F(ReplyProcessorTest, RequestWithoutAReplyGivesUp) {
    const std::uint32_t request = replies.Expect();
    boost::shared_ptr<CResponse> received = boost::make_shared<CResponse>(0);
    boost::thread requester([&] { received = replies.WaitForReply(request, seconds(30)); });
    ASSERT_TRUE(clock->AwaitWaiters(1));
    clock->Advance(seconds(30));
    requester.join();
    EXPECT_EQ(received, nullptr);
}

TEST_F(ReplyProcessorTest, ReplyIsHandedOutOnce) {
    const std::uint32_t request = replies.Expect();
    replies.Process(boost::make_shared<CResponse>(request));
    EXPECT_NE(replies.WaitForReply(request, seconds(1)), nullptr);
    EXPECT_EQ(replies.WaitForReply(request, seconds(1)), nullptr);
}

}  // namespace
}  // namespace Kyr::Common::Module
