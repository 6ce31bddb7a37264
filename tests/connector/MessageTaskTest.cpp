#include <gtest/gtest.h>
#include <stdexcept>
#include <type_traits>

#include "connector/MessageTask.h"
#include "connector/TaskExceptions.h"
#include "connector/channel/ErrorReplyChannelException.h"
#include "tests/connector/ScriptedTask.h"
#include "tests/support/VirtualSlot.h"

namespace Kyr::Connectors::Common {
namespace {

using Kyr::Common::Kernel::MessageType;
using Kyr::Test::CScriptedTask;
using Kyr::Test::VirtualSlot;

TEST(MessageTaskTest, KnowsTheTypeThatItWasMadeFor) {
    EXPECT_EQ(CScriptedTask(MessageType::ApplyPolicy).GetMessageType(), MessageType::ApplyPolicy);
}

TEST(MessageTaskTest, CancelOnlySetsTheFlag) {
    CScriptedTask task(MessageType::ApplyPolicy);
    EXPECT_FALSE(task.IsCancelled());
    task.Cancel();
    EXPECT_TRUE(task.IsCancelled());
    task.Cancel();
    EXPECT_TRUE(task.IsCancelled());
    EXPECT_EQ(task.ExecutionCount(), 0u);
}

TEST(MessageTaskTest, OperationsStandInTheirOrder) {
    EXPECT_EQ(VirtualSlot(&CMessageTask::Execute), 1);
    EXPECT_EQ(VirtualSlot(&CMessageTask::Cancel), 2);
}

TEST(TaskExceptionsTest, RetryCarriesTextAndFlag) {
    const CRetryException counted("no answer", false);
    const CRetryException uncounted("gone", true);
    EXPECT_STREQ(counted.what(), "no answer");
    EXPECT_FALSE(counted.IsRestartNeeded());
    EXPECT_TRUE(uncounted.IsRestartNeeded());
}

TEST(TaskExceptionsTest, CopyOfARetryCarriesTheSame) {
    const CRetryException original("no answer", true);
    const CRetryException copy(original);
    EXPECT_STREQ(copy.what(), "no answer");
    EXPECT_TRUE(copy.IsRestartNeeded());
}

TEST(TaskExceptionsTest, RestartCarriesItsText) {
    EXPECT_STREQ(CRestartNeededException("restart me").what(), "restart me");
}

TEST(TaskExceptionsTest, RestartIsNoRetryAndNoRuntimeError) {
    EXPECT_TRUE((std::is_base_of_v<std::exception, CRestartNeededException>));
    EXPECT_FALSE((std::is_base_of_v<std::runtime_error, CRestartNeededException>));
    EXPECT_TRUE((std::is_base_of_v<std::runtime_error, CRetryException>));
}

TEST(TaskExceptionsTest, RefusalCarriesTextAndStatus) {
    const CErrorReplyChannelException error("refused", 14);
    EXPECT_STREQ(error.what(), "refused");
    EXPECT_EQ(error.GetStatus(), 14u);
    EXPECT_TRUE((std::is_base_of_v<std::runtime_error, CErrorReplyChannelException>));
}

}  // namespace
}  // namespace Kyr::Connectors::Common
