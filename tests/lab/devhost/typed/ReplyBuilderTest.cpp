#include <gtest/gtest.h>
#include <stdexcept>

#include "host/module/Response.h"
#include "lab/devhost/typed/ReplyBuilder.h"

namespace Kyr::Test {
namespace {

using Common::Kernel::IMessage;
using Common::Kernel::MessageType;
using Common::Module::CResponse;
using Lab::DevHost::CCommandArguments;

boost::shared_ptr<IMessage> BuildReply(std::vector<std::string> words) {
    CCommandArguments arguments(std::move(words));
    return Lab::DevHost::BuildReply(arguments);
}

TEST(ReplyBuilderTest, ReplyAnswersTheRequestThatWasNamed) {
    const auto reply = boost::dynamic_pointer_cast<CResponse>(BuildReply({"request=7"}));
    ASSERT_TRUE(reply);
    EXPECT_EQ(7u, reply->GetRequestId());
    EXPECT_EQ(MessageType::Response, reply->GetMessageType());
}

TEST(ReplyBuilderTest, ReplyMayBeOfTheSecondType) {
    const auto reply = BuildReply({"type=1"});
    EXPECT_TRUE(boost::dynamic_pointer_cast<CResponse>(reply));
    EXPECT_EQ(MessageType::Reply, reply->GetMessageType());
}

TEST(ReplyBuilderTest, AlienOneHasTheTypeAndAnotherClass) {
    const auto reply = BuildReply({"type=1", "alien"});
    EXPECT_FALSE(boost::dynamic_pointer_cast<CResponse>(reply));
    EXPECT_EQ(MessageType::Reply, reply->GetMessageType());
    EXPECT_EQ("AlienReply", reply->GetName());
}

TEST(ReplyBuilderTest, TypeThatIsNoReplysIsRefused) {
    EXPECT_THROW(BuildReply({"type=7"}), std::invalid_argument);
}

TEST(ReplyBuilderTest, WordTooManyIsRefused) {
    EXPECT_THROW(BuildReply({"now"}), std::invalid_argument);
}

}  // namespace
}  // namespace Kyr::Test
