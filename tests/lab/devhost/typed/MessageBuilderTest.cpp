#include <gmock/gmock.h>
#include <stdexcept>

#include <boost/pointer_cast.hpp>

#include "host/message/OvAgentTasks.h"
#include "host/message/RequestConfigurationMessage.h"
#include "host/module/Response.h"
#include "lab/devhost/typed/MessageBuilder.h"
#include "tests/support/UuidText.h"

namespace Kyr::Test {
namespace {

namespace Task = Common::Message::Connectors::OvAgentConnector::Task;
using Common::Kernel::MessageType;
using Common::Message::Configuration::CRequestConfigurationMessage;
using Common::Message::Connectors::OvAgentConnector::COvAgentRequest;
using Common::Module::CResponse;

/// What `build` makes of the words behind a command, as a message of that class.
template <typename Message, typename Build>
boost::shared_ptr<Message> From(Build build, const std::string& line) {
    Lab::CCommandWords words(Lab::SplitWords(line));
    return boost::dynamic_pointer_cast<Message>(build(words));
}

auto BuildKill(const std::string& line) {
    return From<Task::CKillProcessByPid>(Lab::DevHost::BuildKillTask, line);
}

auto BuildConfigurationRequest(const std::string& line) {
    return From<CRequestConfigurationMessage>(Lab::DevHost::BuildConfigurationRequest, line);
}

auto BuildBlock(const std::string& line) {
    return From<Task::CBlockExecutableByHash>(Lab::DevHost::BuildBlockTask, line);
}

auto BuildTrigger(const std::string& line) {
    return From<COvAgentRequest>(Lab::DevHost::BuildTrigger, line);
}

auto BuildReply(const std::string& line) {
    return From<Common::Kernel::IMessage>(Lab::DevHost::BuildReply, line);
}

TEST(MessageBuilderTest, KillTaskCarriesTheProcessIdentifier) {
    EXPECT_EQ(BuildKill("pid=18446744073709551615")->GetPayload().process_id(),
              18446744073709551615U);
}

TEST(MessageBuilderTest, KillTaskCarriesTheHashesAsTheyAre) {
    const auto task = BuildKill("pid=1 sha1=AB< sha256=");
    EXPECT_EQ(task->GetPayload().executable_hash_sha1(), "AB<");
    EXPECT_TRUE(task->GetPayload().has_executable_hash_sha2_256());
    EXPECT_EQ(task->GetPayload().executable_hash_sha2_256(), "");
}

TEST(MessageBuilderTest, ConfigurationRequestNamesTheProductType) {
    const auto request = BuildConfigurationRequest("type=9 ids=a,b,c");
    EXPECT_EQ(request->GetPayload().producttype(), 9);
    EXPECT_EQ(Lab::DevHost::IdentifiersOf(*request), "a,b,c");
    EXPECT_TRUE(request->IsReadOnly());
}

TEST(MessageBuilderTest, GivenIdentifiersKeepTheirOrder) {
    const auto task = BuildKill("pid=1 ids=a,b,c");
    EXPECT_EQ(task->GetFirstIdentifier().uuid(), "a");
    EXPECT_EQ(task->GetSecondIdentifier().uuid(), "b");
    EXPECT_EQ(task->GetThirdIdentifier().uuid(), "c");
}

TEST(MessageBuilderTest, EmptyIdentifierStaysUninitialized) {
    const auto task = BuildKill("pid=1 ids=a,,c");
    EXPECT_TRUE(task->GetFirstIdentifier().IsInitialized());
    EXPECT_FALSE(task->GetSecondIdentifier().IsInitialized());
}

TEST(MessageBuilderTest, TaskWithoutIdentifiersGetsFreshOnes) {
    const std::string first = Lab::DevHost::IdentifiersOf(*BuildKill("pid=1"));
    EXPECT_TRUE(AreUuidTexts(first, 3)) << first;
    EXPECT_NE(Lab::DevHost::IdentifiersOf(*BuildKill("pid=1")), first);
}

TEST(MessageBuilderTest, BlockTaskCarriesHashesAndSwitch) {
    const auto task = BuildBlock("sha256=cd sha1=ab delete=1");
    EXPECT_EQ(task->GetPayload().executable_hash_sha1(), "ab");
    EXPECT_EQ(task->GetPayload().executable_hash_sha2_256(), "cd");
    EXPECT_TRUE(task->GetPayload().delete_executable());
}

TEST(MessageBuilderTest, TaskHasOnlyWhatItsWordsSay) {
    const auto kill = BuildKill("pid=1");
    EXPECT_FALSE(kill->GetPayload().has_executable_hash_sha1());
    EXPECT_FALSE(kill->GetPayload().has_executable_hash_sha2_256());
    EXPECT_TRUE(kill->IsReadOnly());
    EXPECT_FALSE(BuildConfigurationRequest("")->GetPayload().has_producttype());
    const auto block = BuildBlock("sha256=cd");
    EXPECT_TRUE(block->GetPayload().has_delete_executable());
    EXPECT_FALSE(block->GetPayload().delete_executable());
}

TEST(MessageBuilderTest, TriggerMayBeOfAKindThatNobodyKnows) {
    EXPECT_EQ(2147483647, BuildTrigger("kind=2147483647")->GetRequestType());
    EXPECT_TRUE(BuildTrigger("kind=0")->IsReadOnly());
}

TEST(MessageBuilderTest, ReplyAnswersTheRequestThatWasNamed) {
    const auto reply = boost::dynamic_pointer_cast<CResponse>(BuildReply("request=7"));
    ASSERT_TRUE(reply);
    EXPECT_EQ(7u, reply->GetRequestId());
    EXPECT_EQ(MessageType::Response, reply->GetMessageType());
    EXPECT_EQ(MessageType::Reply, BuildReply("type=1")->GetMessageType());
}

TEST(MessageBuilderTest, AlienReplyHasTheTypeAndAnotherClass) {
    const auto reply = BuildReply("type=1 alien");
    EXPECT_FALSE(boost::dynamic_pointer_cast<CResponse>(reply));
    EXPECT_EQ(MessageType::Reply, reply->GetMessageType());
    EXPECT_EQ("AlienReply", reply->GetName());
}

TEST(MessageBuilderTest, WordsThatMakeNoMessageAreRefused) {
    for (const char* words : {"sha1=ab", "pid=me", "pid=1 ids=a,b", "pid=1 delete=1"}) {
        EXPECT_THROW(BuildKill(words), std::invalid_argument) << words;
    }
    EXPECT_THROW(BuildBlock("sha256=cd delete=2"), std::invalid_argument);
    for (const char* words : {"", "kind=2147483648", "kind=0 now"}) {
        EXPECT_THROW(BuildTrigger(words), std::invalid_argument) << words;
    }
    for (const char* words : {"type=7", "now"}) {
        EXPECT_THROW(BuildReply(words), std::invalid_argument) << words;
    }
}

}  // namespace
}  // namespace Kyr::Test
