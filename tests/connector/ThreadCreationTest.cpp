// What happens when the operating system has no thread to give: the default stack of new threads is
// made larger than any address space, so that creating one really fails. glibc only.
#include <cstddef>
#include <limits>
#include <pthread.h>

#include <boost/thread/thread.hpp>

#include "connector/MessageProcessorThreadHolder.h"
#include "host/module/Response.h"
#include "tests/connector/ModuleFixture.h"

namespace Kyr::Connectors::Common {
namespace {

using testing::IsEmpty;

/// No thread can be created while this lives.
class CNoThreads {
  public:
    CNoThreads() {
        pthread_getattr_default_np(&before_);
        pthread_attr_t huge;
        pthread_attr_init(&huge);
        pthread_attr_setstacksize(&huge, std::size_t{1} << (sizeof(std::size_t) * 8 - 2));
        pthread_setattr_default_np(&huge);
        pthread_attr_destroy(&huge);
    }
    ~CNoThreads() {
        pthread_setattr_default_np(&before_);
        pthread_attr_destroy(&before_);
    }
    CNoThreads(const CNoThreads&) = delete;
    CNoThreads& operator=(const CNoThreads&) = delete;

  private:
    pthread_attr_t before_;
};

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

}  // namespace
}  // namespace Kyr::Connectors::Common
