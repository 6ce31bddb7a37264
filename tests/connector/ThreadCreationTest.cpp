// What happens when the operating system has no thread to give.
#include <boost/thread/thread.hpp>

#include "connector/MessageProcessorThreadHolder.h"
#include "host/module/Response.h"
#include "tests/connector/ModuleFixture.h"
#include "tests/support/system/NoThreads.h"

namespace Kyr::Connectors::Common {
namespace {

using Kyr::Test::CNoThreads;
using testing::IsEmpty;

class ThreadCreationTest : public ModuleFixture {};

TEST_F(ThreadCreationTest, StartThrowsAndMayBeTriedAgain) {
    module->Initialize(host);
    {
        const CNoThreads noThreads;
        EXPECT_THROW(module->Start(), boost::thread_resource_error);
    }
    EXPECT_THAT(module->Calls(), IsEmpty());
    module->Start();
    ASSERT_TRUE(clock->AwaitWaiters(1));
    Finish();
}

TEST_F(ThreadCreationTest, ModuleWhoseStartFailedCanBeStopped) {
    module->Initialize(host);
    {
        const CNoThreads noThreads;
        EXPECT_THROW(module->Start(), boost::thread_resource_error);
    }
    module->RequestStop();
    EXPECT_TRUE(module->Stop(false));
}

TEST_F(ThreadCreationTest, PushThrowsWhenTheReplyThreadCannotStart) {
    StartAndConnect();
    {
        const CNoThreads noThreads;
        EXPECT_THROW(Deliver(boost::make_shared<Kyr::Common::Module::CResponse>(1)),
                     boost::thread_resource_error);
    }
    EXPECT_EQ(host.bus->Subscriptions()[0].subscriber->Dump(), "ScriptedModule:Response");
    Finish();
}

TEST_F(ThreadCreationTest, ReplyWhoseThreadCouldNotStartIsProcessedBeforeTheNextOne) {
    StartAndConnect();
    const auto replies = host.bus->Subscriptions()[0].subscriber;
    {
        const CNoThreads noThreads;
        EXPECT_THROW(Deliver(boost::make_shared<Kyr::Common::Module::CResponse>(1)),
                     boost::thread_resource_error);
    }
    Deliver(boost::make_shared<Kyr::Common::Module::CResponse>(2));
    EXPECT_TRUE(Kyr::Test::Await([&] { return replies->Dump().empty(); }));
    Finish();
}

TEST_F(ThreadCreationTest, ReplyWhoseThreadCouldNotStartAgainIsProcessedAfterTheNextStart) {
    StartAndConnect();
    const auto replies = host.bus->Subscriptions()[0].subscriber;
    Deliver(boost::make_shared<Kyr::Common::Module::CResponse>(1));
    ASSERT_TRUE(clock->AwaitWaiters(2));
    clock->Advance(std::chrono::seconds(5));
    ASSERT_TRUE(clock->AwaitWaiters(1));
    {
        const CNoThreads noThreads;
        EXPECT_THROW(Deliver(boost::make_shared<Kyr::Common::Module::CResponse>(2)),
                     boost::thread_resource_error);
    }
    EXPECT_EQ(replies->Dump(), "ScriptedModule:Response");
    module->Start();
    EXPECT_TRUE(Kyr::Test::Await([&] { return replies->Dump().empty(); }));
    EXPECT_TRUE(module->Stop(true));
}

}  // namespace
}  // namespace Kyr::Connectors::Common
