#include <gtest/gtest.h>
#include <memory>

#include <boost/thread/thread.hpp>

#include "module/Turnstile.h"
#include "tests/support/time/Await.h"

namespace Kyr::Connectors::OvAgentConnector {
namespace {

class TurnstileTest : public testing::Test {
  protected:
    ~TurnstileTest() override { thread_.join(); }

    /// Has another thread pass, after `before` has run there.
    template <typename Action>
    void PassOnAnotherThread(Action before) {
        thread_ = boost::thread([this, before] {
            try {
                before();
                const CTurnstile::CPassage passage(turnstile_);
                passed_ = true;
            } catch (const boost::thread_interrupted&) {
                interrupted_ = true;
            }
        });
    }
    void PassOnAnotherThread() {
        PassOnAnotherThread([] {});
    }

    CTurnstile turnstile_;
    boost::thread thread_;
    // What became of the other thread, to be read when it has been joined.
    bool passed_ = false;
    bool interrupted_ = false;
};

TEST_F(TurnstileTest, ThreadsPassOneAfterTheOther) {
    { const CTurnstile::CPassage passage(turnstile_); }
    PassOnAnotherThread();
    thread_.join();
    EXPECT_TRUE(passed_);
}

TEST_F(TurnstileTest, SecondThreadWaitsUntilTheFirstHasLeft) {
    auto first = std::make_unique<CTurnstile::CPassage>(turnstile_);
    PassOnAnotherThread();
    EXPECT_FALSE(thread_.try_join_for(boost::chrono::milliseconds(20)));
    first.reset();
    thread_.join();
    EXPECT_TRUE(passed_);
}

TEST_F(TurnstileTest, InterruptedThreadStopsWaiting) {
    const CTurnstile::CPassage first(turnstile_);
    PassOnAnotherThread();
    thread_.interrupt();
    thread_.join();
    EXPECT_TRUE(interrupted_);
    EXPECT_FALSE(passed_);
}

TEST_F(TurnstileTest, ThreadThatWasInterruptedBeforeDoesNotBeginToWait) {
    const CTurnstile::CPassage first(turnstile_);
    PassOnAnotherThread([] { EXPECT_TRUE(Kyr::Test::AwaitInterruption()); });
    thread_.interrupt();
    thread_.join();
    EXPECT_TRUE(interrupted_);
    EXPECT_FALSE(passed_);
}

TEST_F(TurnstileTest, ThreadThatWasInterruptedDoesNotKeepOthersOut) {
    auto first = std::make_unique<CTurnstile::CPassage>(turnstile_);
    PassOnAnotherThread();
    thread_.interrupt();
    thread_.join();
    first.reset();
    PassOnAnotherThread();
    thread_.join();
    EXPECT_TRUE(passed_);
}

}  // namespace
}  // namespace Kyr::Connectors::OvAgentConnector
