#include <gmock/gmock.h>
#include <stdexcept>

#include <boost/pointer_cast.hpp>

#include "host/message/OvAgentTasks.h"
#include "host/message/RequestConfigurationMessage.h"
#include "host/module/Response.h"
#include "lab/devhost/typed/MessageBuilder.h"
#include "logs/OvAgentRequest.h"
#include "tests/support/UuidText.h"

namespace Kyr::Test {
namespace {

namespace Task = Common::Message::Connectors::OvAgentConnector::Task;
using namespace Lab::DevHost;
using Common::Kernel::MessageType;
using Common::Message::Configuration::CRequestConfigurationMessage;
using Common::Message::Connectors::OvAgentConnector::COvAgentRequest;
using Common::Module::CResponse;

using Builder = MessagePointer (*)(Lab::CCommandWords& words);

/// What `build` makes of the words behind a command, as a message of that class.
template <typename Message>
boost::shared_ptr<Message> Build(Builder build, const std::string& line) {
    Lab::CCommandWords words(Lab::SplitWords(line));
    return boost::dynamic_pointer_cast<Message>(build(words));
}

auto BuildKill(const std::string& line) {
    return Build<Task::CKillProcessByPid>(BuildKillTask, line);
}

auto BuildBlock(const std::string& line) {
    return Build<Task::CBlockExecutableByHash>(BuildBlockTask, line);
}

TEST(MessageBuilderTest, KillTaskCarriesProcessIdentifierAndHashesAsTheyAre) {
    const auto task = BuildKill("pid=18446744073709551615 sha1=AB< sha256=");
    EXPECT_EQ(task->GetPayload().process_id(), 18446744073709551615U);
    EXPECT_EQ(task->GetPayload().executable_hash_sha1(), "AB<");
    EXPECT_TRUE(task->GetPayload().has_executable_hash_sha2_256());
    EXPECT_EQ(task->GetPayload().executable_hash_sha2_256(), "");
}

TEST(MessageBuilderTest, BlockTaskCarriesHashesAndSwitch) {
    const auto task = BuildBlock("sha256=cd sha1=ab delete=1");
    EXPECT_EQ(task->GetPayload().executable_hash_sha1(), "ab");
    EXPECT_EQ(task->GetPayload().executable_hash_sha2_256(), "cd");
    EXPECT_TRUE(task->GetPayload().delete_executable());
    EXPECT_TRUE(BuildBlock("sha256=cd")->GetPayload().has_delete_executable());
    EXPECT_FALSE(BuildBlock("sha256=cd")->GetPayload().delete_executable());
}

TEST(MessageBuilderTest, ConfigurationRequestNamesTheProductTypeThatWasGiven) {
    const auto build = [](const std::string& line) {
        return Build<CRequestConfigurationMessage>(BuildConfigurationRequest, line);
    };
    EXPECT_EQ(build("type=9")->GetPayload().producttype(), 9);
    EXPECT_FALSE(build("")->GetPayload().has_producttype());
}

TEST(MessageBuilderTest, TaskHasOnlyWhatItsWordsSay) {
    const auto kill = BuildKill("pid=1");
    EXPECT_FALSE(kill->GetPayload().has_executable_hash_sha1());
    EXPECT_FALSE(kill->GetPayload().has_executable_hash_sha2_256());
    EXPECT_TRUE(kill->IsReadOnly());
}

TEST(MessageBuilderTest, GivenIdentifiersKeepTheirOrderAndAnEmptyOneStaysUninitialized) {
    const auto task = BuildKill("pid=1 ids=a,,c");
    EXPECT_EQ(task->GetFirstIdentifier().uuid(), "a");
    EXPECT_FALSE(task->GetSecondIdentifier().IsInitialized());
    EXPECT_EQ(task->GetThirdIdentifier().uuid(), "c");
    EXPECT_EQ(BuildKill("pid=1 ids=a,b,c")->GetSecondIdentifier().uuid(), "b");
}

TEST(MessageBuilderTest, TaskWithoutIdentifiersGetsFreshOnes) {
    const auto task = BuildKill("pid=1");
    const std::string all = task->GetFirstIdentifier().uuid() + "," +
                            task->GetSecondIdentifier().uuid() + "," +
                            task->GetThirdIdentifier().uuid();
    EXPECT_TRUE(AreUuidTexts(all, 3)) << all;
    EXPECT_NE(task->GetFirstIdentifier().uuid(), task->GetSecondIdentifier().uuid());
    EXPECT_NE(task->GetFirstIdentifier().uuid(), BuildKill("pid=1")->GetFirstIdentifier().uuid());
}

TEST(MessageBuilderTest, TriggerMayBeOfAKindThatNobodyKnows) {
    const auto trigger = Build<COvAgentRequest>(BuildTrigger, "kind=2147483647");
    EXPECT_EQ(2147483647, trigger->GetRequestType());
    EXPECT_TRUE(trigger->IsReadOnly());
}

TEST(MessageBuilderTest, ReplyAnswersTheRequestThatWasNamed) {
    const auto reply = Build<CResponse>(BuildReply, "request=7");
    ASSERT_TRUE(reply);
    EXPECT_EQ(7u, reply->GetRequestId());
    EXPECT_EQ(MessageType::Response, reply->GetMessageType());
    EXPECT_EQ(MessageType::Reply, Build<CResponse>(BuildReply, "type=1")->GetMessageType());
}

TEST(MessageBuilderTest, AlienReplyHasTheTypeAndAnotherClass) {
    const auto reply = Build<Common::Kernel::IMessage>(BuildReply, "type=1 alien");
    EXPECT_FALSE(boost::dynamic_pointer_cast<CResponse>(reply));
    EXPECT_EQ(MessageType::Reply, reply->GetMessageType());
    EXPECT_EQ("AlienReply", reply->GetName());
}

TEST(MessageBuilderTest, WordsThatMakeNoMessageAreRefused) {
    const struct {
        Builder build;
        const char* words;
    } kRows[] = {
        {BuildKillTask, "sha1=ab"},
        {BuildKillTask, "pid=me"},
        {BuildKillTask, "pid=1 ids=a,b"},
        {BuildKillTask, "pid=1 delete=1"},
        {BuildBlockTask, "sha256=cd delete=2"},
        {BuildTrigger, ""},
        {BuildTrigger, "kind=2147483648"},
        {BuildTrigger, "kind=0 now"},
        {BuildReply, "type=7"},
        {BuildReply, "now"},
    };
    for (const auto& row : kRows) {
        EXPECT_THROW(Build<Common::Kernel::IMessage>(row.build, row.words), std::invalid_argument)
            << row.words;
    }
}

}  // namespace
}  // namespace Kyr::Test
