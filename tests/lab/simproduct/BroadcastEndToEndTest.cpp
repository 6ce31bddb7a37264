// The area of a simulated product in a process of its own, read by the connector's channel here.
#include <future>
#include <gtest/gtest.h>

#include "kelcomm/OvAgentChannel.h"
#include "tests/kelcomm/native/LayerFunctions.h"
#include "tests/lab/simproduct/EndToEndTest.h"
#include "tests/support/ThrownText.h"

namespace Kyr::Lab::SimProduct {
namespace {

using Connectors::OvAgentConnector::COvAgentChannel;
using Kyr::Test::ThrownText;

class BroadcastEndToEndTest : public EndToEndTest {
  protected:
    void SetUp() override {
        Run();
        channel_ = std::make_unique<COvAgentChannel>(0, 0, Kyr::Test::LayerFunctions());
    }

    std::string Failure(std::int32_t index) {
        return ThrownText([&] { channel_->GetBroadcast(index); });
    }

    std::unique_ptr<COvAgentChannel> channel_;
};

TEST_F(BroadcastEndToEndTest, ChangeOfAValueIsSeenOnce) {
    EXPECT_TRUE(channel_->HasBroadcastChanged(2));
    EXPECT_FALSE(channel_->HasBroadcastChanged(2));
    Command("broadcast index=2");
    EXPECT_TRUE(channel_->HasBroadcastChanged(2));
    EXPECT_FALSE(channel_->HasBroadcastChanged(2));
    EXPECT_EQ(channel_->GetBroadcast(2), 1);
}

TEST_F(BroadcastEndToEndTest, ProductWithoutNewsTellsNoChangeUntilThereIsOne) {
    Run({"--nothing-new"});
    EXPECT_FALSE(channel_->HasBroadcastChanged(2));
    EXPECT_FALSE(channel_->HasBroadcastChanged(8));
    Command("broadcast index=8");
    EXPECT_FALSE(channel_->HasBroadcastChanged(2));
    EXPECT_TRUE(channel_->HasBroadcastChanged(8));
}

TEST_F(BroadcastEndToEndTest, EveryValueIsReadAtItsPlace) {
    for (std::int32_t index = 0; index <= 10; ++index) {
        Command("broadcast index=" + std::to_string(index) +
                " value=" + std::to_string(100 + index));
        EXPECT_EQ(channel_->GetBroadcast(index), 100 + index);
    }
}

TEST_F(BroadcastEndToEndTest, AreaIsReadByALegacyClientToo) {
    Command("misbehave no-alpc");
    Await("answer");  // it gives two
    Command("broadcast index=8 value=3");
    EXPECT_EQ(channel_->GetBroadcast(8), 3);
}

TEST_F(BroadcastEndToEndTest, AreaOfAnotherKindIsRefusedUntilItIsHealthy) {
    for (const char* lie : {"magic 0", "header-size 31", "version 3"}) {
        Command(std::string("area set ") + lie);
        EXPECT_EQ(Failure(2), "CKelcommChannel: Get broadcast failed") << lie;
        EXPECT_EQ(Failure(10), "CKelcommChannel: Get modules count broadcast failed") << lie;
    }
    Command("area healthy");
    EXPECT_EQ(channel_->GetBroadcast(2), 0);
}

TEST_F(BroadcastEndToEndTest, OffsetsAndCountsBeyondTheAreaEndInFailures) {
    EXPECT_EQ(channel_->GetBroadcast(10), 0);  // from now on the entry is known
    const char* const lies[][2] = {
        {"data-offset 0xFFFFFFFF", "CKelcommChannel: Get user data timestamp broadcast failed"},
        {"module-count 0xFFFFFFFF", "CKelcommChannel: Get module id broadcast failed"},
        {"user-offset 0xFFFFFFFC", "CKelcommChannel: Get TSERVER_BROADCAST failed"},
        {"user-offset 0x7FFFFFFF", "CKelcommChannel: Get TSERVER_BROADCAST failed"},
        {"user-offset 1017", "CKelcommChannel: Get TSERVER_BROADCAST failed"},
        {"data-size 0", "CKelcommChannel: Get user data timestamp broadcast failed"}};
    for (const auto& [lie, text] : lies) {
        Command("area healthy");
        if (std::string(lie) == "module-count 0xFFFFFFFF") {
            Command("area set module-id 0");  // so that the table is searched
        }
        Command(std::string("area set ") + lie);
        EXPECT_EQ(Failure(10), text) << lie;
    }
    Command("area healthy");
    EXPECT_EQ(channel_->GetBroadcast(10), 0);
}

TEST_F(BroadcastEndToEndTest, HeldMutexIsWaitedForAndThenHad) {
    Command("broadcast index=10 value=4");
    Command("area hold");
    std::promise<void> begins;
    auto read = std::async(std::launch::async, [&] {
        begins.set_value();
        return channel_->GetBroadcast(10);
    });
    begins.get_future().wait();
    EXPECT_EQ(read.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
    Command("area release");
    EXPECT_EQ(read.get(), 4);
}

TEST_F(BroadcastEndToEndTest, MutexHeldForLongIsGivenUpAfterFiveSeconds) {
    Command("area hold");
    EXPECT_EQ(channel_->GetBroadcast(2), 0);  // without the mutex
    EXPECT_EQ(Failure(10), "CKelcommChannel: Get TSERVER_BROADCAST failed");
    Command("area release");
    Command("broadcast index=10 value=4");
    EXPECT_EQ(channel_->GetBroadcast(10), 4);
}

TEST_F(BroadcastEndToEndTest, ProductThatDiesWithTheMutexStopsNobody) {
    EXPECT_EQ(channel_->GetBroadcast(2), 0);  // the area is mapped
    Command("broadcast index=10 value=4");
    actor_->Send("area die");
    EXPECT_NE(actor_->AwaitEnd(kPatience), 0);
    EXPECT_EQ(channel_->GetBroadcast(10), 4);
}

TEST_F(BroadcastEndToEndTest, ProductThatStartsAgainWritesTheAreaThatIsStillRead) {
    EXPECT_EQ(channel_->GetBroadcast(10), 0);
    actor_->Send("area die");
    actor_->AwaitEnd(kPatience);
    Run();
    Command("broadcast index=10 value=8");
    EXPECT_EQ(channel_->GetBroadcast(10), 8);
}

TEST_F(BroadcastEndToEndTest, ProductThatStartsInAClearedDirectoryIsReadOnceItIsReachedAgain) {
    EXPECT_EQ(channel_->GetBroadcast(10), 0);
    directory_.Clear();
    Run();
    Command("broadcast index=10 value=8");
    std::string errors;
    EXPECT_TRUE(channel_->Ping(errors)) << errors;
    EXPECT_EQ(channel_->GetBroadcast(10), 8);
}

}  // namespace
}  // namespace Kyr::Lab::SimProduct
