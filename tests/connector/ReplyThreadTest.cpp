// What only a thread meets that is late: everything else is tested through its holder.
#include <gmock/gmock.h>
#include <memory>
#include <string>
#include <vector>

#include <boost/make_shared.hpp>

#include "connector/ReplyThread.h"
#include "tests/support/host/LogCapture.h"
#include "tests/support/host/TestMessage.h"
#include "tests/support/time/ManualClock.h"

namespace Kyr::Connectors::Common {
namespace {

using Kyr::Common::Module::CSubscriber;
using testing::IsEmpty;

class CCountingProcessor : public Kyr::Common::Module::IMessageProcessor {
  public:
    void Process(const boost::shared_ptr<Kyr::Common::Kernel::IMessage>& /*message*/) override {
        ++processed;
    }

    int processed = 0;
};

// The push has copied the queue's callback before End dropped it, and gets the lock after End.
TEST(ReplyThreadTest, PushThatIsLaterThanTheEndStartsNothing) {
    Kyr::Test::CCapturingLogger logger;
    CCountingProcessor processor;
    CReplyThread thread(logger, processor);
    const auto queue =
        boost::make_shared<CSubscriber>("M", boost::make_shared<Kyr::Test::CManualClock>(), [] {});
    thread.SetQueue(queue);
    queue->Push(Kyr::Test::MakeMessage("A"), {});
    thread.End();
    thread.OnIdleEnded();
    thread.End();  // a thread that is there takes the message or says that it did not
    EXPECT_EQ(processor.processed, 0);
    EXPECT_THAT(logger.Capture().Lines(), IsEmpty());
}

}  // namespace
}  // namespace Kyr::Connectors::Common
