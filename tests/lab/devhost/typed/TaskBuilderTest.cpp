#include <gmock/gmock.h>
#include <stdexcept>

#include <boost/pointer_cast.hpp>

#include "host/message/OvAgentTasks.h"
#include "host/message/RequestConfigurationMessage.h"
#include "lab/devhost/typed/TaskBuilder.h"
#include "tests/support/UuidText.h"

namespace Kyr::Test {
namespace {

namespace Task = Common::Message::Connectors::OvAgentConnector::Task;
using Common::Message::Configuration::CRequestConfigurationMessage;
using Lab::DevHost::CCommandArguments;

boost::shared_ptr<Task::CKillProcessByPid> BuildKill(std::vector<std::string> words) {
    CCommandArguments arguments(std::move(words));
    return boost::dynamic_pointer_cast<Task::CKillProcessByPid>(
        Lab::DevHost::BuildKillTask(arguments));
}

boost::shared_ptr<CRequestConfigurationMessage> BuildConfigurationRequest(
    std::vector<std::string> words) {
    CCommandArguments arguments(std::move(words));
    return boost::dynamic_pointer_cast<CRequestConfigurationMessage>(
        Lab::DevHost::BuildConfigurationRequest(arguments));
}

boost::shared_ptr<Task::CBlockExecutableByHash> BuildBlock(std::vector<std::string> words) {
    CCommandArguments arguments(std::move(words));
    return boost::dynamic_pointer_cast<Task::CBlockExecutableByHash>(
        Lab::DevHost::BuildBlockTask(arguments));
}

TEST(TaskBuilderTest, KillTaskCarriesTheProcessIdentifier) {
    EXPECT_EQ(BuildKill({"pid=18446744073709551615"})->GetPayload().process_id(),
              18446744073709551615U);
}

TEST(TaskBuilderTest, KillTaskWithoutHashesHasNone) {
    const auto task = BuildKill({"pid=1"});
    EXPECT_FALSE(task->GetPayload().has_executable_hash_sha1());
    EXPECT_FALSE(task->GetPayload().has_executable_hash_sha2_256());
}

TEST(TaskBuilderTest, KillTaskCarriesTheHashesAsTheyAre) {
    const auto task = BuildKill({"pid=1", "sha1=AB\"<", "sha256="});
    EXPECT_EQ(task->GetPayload().executable_hash_sha1(), "AB\"<");
    EXPECT_TRUE(task->GetPayload().has_executable_hash_sha2_256());
    EXPECT_EQ(task->GetPayload().executable_hash_sha2_256(), "");
}

TEST(TaskBuilderTest, ConfigurationRequestNamesTheProductType) {
    const auto request = BuildConfigurationRequest({"type=9", "ids=a,b,c"});
    EXPECT_EQ(request->GetPayload().producttype(), 9);
    EXPECT_EQ(Lab::DevHost::IdentifiersOf(*request), "a,b,c");
    EXPECT_TRUE(request->IsReadOnly());
}

TEST(TaskBuilderTest, ConfigurationRequestMayNameNoProductType) {
    EXPECT_FALSE(BuildConfigurationRequest({})->GetPayload().has_producttype());
}

TEST(TaskBuilderTest, KillTaskNeedsAProcessIdentifier) {
    EXPECT_THROW(BuildKill({"sha1=ab"}), std::invalid_argument);
}

TEST(TaskBuilderTest, ProcessIdentifierMustBeANumber) {
    EXPECT_THROW(BuildKill({"pid=me"}), std::invalid_argument);
}

TEST(TaskBuilderTest, TaskIsReadOnly) {
    EXPECT_TRUE(BuildKill({"pid=1"})->IsReadOnly());
}

TEST(TaskBuilderTest, GivenIdentifiersKeepTheirOrder) {
    const auto task = BuildKill({"pid=1", "ids=a,b,c"});
    EXPECT_EQ(task->GetFirstIdentifier().uuid(), "a");
    EXPECT_EQ(task->GetSecondIdentifier().uuid(), "b");
    EXPECT_EQ(task->GetThirdIdentifier().uuid(), "c");
}

TEST(TaskBuilderTest, EmptyIdentifierStaysUninitialized) {
    const auto task = BuildKill({"pid=1", "ids=a,,c"});
    EXPECT_TRUE(task->GetFirstIdentifier().IsInitialized());
    EXPECT_FALSE(task->GetSecondIdentifier().IsInitialized());
}

TEST(TaskBuilderTest, IdentifiersAreThreeOrNone) {
    EXPECT_THROW(BuildKill({"pid=1", "ids=a,b"}), std::invalid_argument);
}

TEST(TaskBuilderTest, TaskWithoutIdentifiersGetsFreshOnes) {
    const std::string first = Lab::DevHost::IdentifiersOf(*BuildKill({"pid=1"}));
    EXPECT_TRUE(AreUuidTexts(first, 3)) << first;
    EXPECT_NE(Lab::DevHost::IdentifiersOf(*BuildKill({"pid=1"})), first);
}

TEST(TaskBuilderTest, WordThatNoTaskKnowsIsRefused) {
    EXPECT_THROW(BuildKill({"pid=1", "delete=1"}), std::invalid_argument);
}

TEST(TaskBuilderTest, BlockTaskCarriesHashesAndSwitch) {
    const auto task = BuildBlock({"sha256=cd", "sha1=ab", "delete=1"});
    EXPECT_EQ(task->GetPayload().executable_hash_sha1(), "ab");
    EXPECT_EQ(task->GetPayload().executable_hash_sha2_256(), "cd");
    EXPECT_TRUE(task->GetPayload().delete_executable());
}

TEST(TaskBuilderTest, BlockTaskDoesNotDeleteUnlessTold) {
    const auto task = BuildBlock({"sha256=cd"});
    EXPECT_TRUE(task->GetPayload().has_delete_executable());
    EXPECT_FALSE(task->GetPayload().delete_executable());
}

TEST(TaskBuilderTest, DeleteSwitchIsZeroOrOne) {
    EXPECT_THROW(BuildBlock({"sha256=cd", "delete=yes"}), std::invalid_argument);
}

}  // namespace
}  // namespace Kyr::Test
