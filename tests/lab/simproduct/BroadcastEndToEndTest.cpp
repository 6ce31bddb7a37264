// The area of a simulated product in a process of its own, read by the connector's channel here.
#include <future>
#include <gtest/gtest.h>

#include "kelcomm/OvAgentChannel.h"
#include "lab/runner/Actor.h"
#include "portlayer/LiveCounters.h"
#include "tests/kelcomm/native/LayerFunctions.h"
#include "tests/support/ThrownText.h"
#include "tests/support/product/InstalledProduct.h"
#include "tests/support/system/RunDirectory.h"

namespace Kyr::Lab::SimProduct {
namespace {

using Connectors::OvAgentConnector::COvAgentChannel;
using Kyr::Test::ThrownText;

constexpr std::chrono::seconds kPatience(20);

class BroadcastEndToEndTest : public ::testing::Test {
  protected:
    BroadcastEndToEndTest() {
        StartProduct();
        channel_ = std::make_unique<COvAgentChannel>(0, 0, Kyr::Test::LayerFunctions());
    }

    ~BroadcastEndToEndTest() override {
        channel_.reset();
        product_.reset();
        EXPECT_EQ(PortLayer::LiveObjects(), "");
    }

    void StartProduct(const std::vector<std::string>& arguments = {}) {
        product_.reset();
        product_ = std::make_unique<Runner::CActor>("product", KYR_SIMPRODUCT, arguments,
                                                    Runner::CActor::Environment{},
                                                    [](const std::string&, const TimedLine&) {});
        next_ = 0;
        Await("ready");
    }

    void Await(const std::string& kind) {
        const auto found = product_->Find(
            next_, [&](const CLine& line) { return line.Kind() == kind; }, kPatience);
        ASSERT_TRUE(found) << kind;
        next_ = *found + 1;
    }

    /// Lets the product carry out `command`.
    void Product(const std::string& command) {
        product_->Send(command);
        Await("answer");
    }

    std::string Failure(std::int32_t index) {
        return ThrownText([&] { channel_->GetBroadcast(index); });
    }

    const Kyr::Test::CInstalledProduct place_;  // takes back what the product registers
    Kyr::Test::CRunDirectory directory_;
    std::unique_ptr<Runner::CActor> product_;
    std::size_t next_ = 0;
    std::unique_ptr<COvAgentChannel> channel_;
};

TEST_F(BroadcastEndToEndTest, ChangeOfAValueIsSeenOnce) {
    EXPECT_TRUE(channel_->HasBroadcastChanged(2));
    EXPECT_FALSE(channel_->HasBroadcastChanged(2));
    Product("broadcast index=2");
    EXPECT_TRUE(channel_->HasBroadcastChanged(2));
    EXPECT_FALSE(channel_->HasBroadcastChanged(2));
    EXPECT_EQ(channel_->GetBroadcast(2), 1);
}

TEST_F(BroadcastEndToEndTest, ProductWithoutNewsTellsNoChangeUntilThereIsOne) {
    StartProduct({"--nothing-new"});
    EXPECT_FALSE(channel_->HasBroadcastChanged(2));
    EXPECT_FALSE(channel_->HasBroadcastChanged(8));
    Product("broadcast index=8");
    EXPECT_FALSE(channel_->HasBroadcastChanged(2));
    EXPECT_TRUE(channel_->HasBroadcastChanged(8));
}

TEST_F(BroadcastEndToEndTest, EveryValueIsReadAtItsPlace) {
    for (std::int32_t index = 0; index <= 10; ++index) {
        Product("broadcast index=" + std::to_string(index) +
                " value=" + std::to_string(100 + index));
        EXPECT_EQ(channel_->GetBroadcast(index), 100 + index);
    }
}

TEST_F(BroadcastEndToEndTest, AreaIsReadByALegacyClientToo) {
    Product("misbehave no-alpc");
    Await("answer");  // it gives two
    Product("broadcast index=8 value=3");
    EXPECT_EQ(channel_->GetBroadcast(8), 3);
}

TEST_F(BroadcastEndToEndTest, PlugInIsFoundAgainWhereItMovedTo) {
    Product("broadcast index=10 value=5");
    EXPECT_EQ(channel_->GetBroadcast(10), 5);
    for (const char* position : {"2", "0", "1"}) {
        Product(std::string("area move ") + position);
        EXPECT_EQ(channel_->GetBroadcast(10), 5) << position;
    }
    Product("broadcast index=10");
    EXPECT_EQ(channel_->GetBroadcast(10), 6);
}

TEST_F(BroadcastEndToEndTest, AreaOfAnotherKindIsRefusedUntilItIsHealthy) {
    for (const char* lie : {"magic 0", "header-size 31", "version 3"}) {
        Product(std::string("area set ") + lie);
        EXPECT_EQ(Failure(2), "CKelcommChannel: Get broadcast failed") << lie;
        EXPECT_EQ(Failure(10), "CKelcommChannel: Get modules count broadcast failed") << lie;
    }
    Product("area healthy");
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
        Product("area healthy");
        if (std::string(lie) == "module-count 0xFFFFFFFF") {
            Product("area set module-id 0");  // so that the table is searched
        }
        Product(std::string("area set ") + lie);
        EXPECT_EQ(Failure(10), text) << lie;
    }
    Product("area healthy");
    EXPECT_EQ(channel_->GetBroadcast(10), 0);
}

TEST_F(BroadcastEndToEndTest, TableThatBeginsAtTheEndOfTheNumbersIsAFailure) {
    Product("area set first-module 0xFFFFFFF0");
    EXPECT_EQ(Failure(10), "CKelcommChannel: Get module id broadcast failed");
}

TEST_F(BroadcastEndToEndTest, DataThatShrinkAreReadOrRefusedButNeverWrong) {
    Product("broadcast index=9 value=77");
    EXPECT_EQ(channel_->GetBroadcast(9), 77);
    Product("area flicker data-size 0");
    for (int i = 0; i < 2000; ++i) {
        const std::string failure = ThrownText([&] { EXPECT_EQ(channel_->GetBroadcast(9), 77); });
        EXPECT_TRUE(failure == "nothing was thrown" ||
                    failure == "CKelcommChannel: Get broadcast failed")
            << failure;
    }
    Product("area healthy");
    EXPECT_EQ(channel_->GetBroadcast(9), 77);
}

TEST_F(BroadcastEndToEndTest, HeldMutexIsWaitedForAndThenHad) {
    Product("broadcast index=10 value=4");
    Product("area hold");
    std::promise<void> begins;
    auto read = std::async(std::launch::async, [&] {
        begins.set_value();
        return channel_->GetBroadcast(10);
    });
    begins.get_future().wait();
    EXPECT_EQ(read.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
    Product("area release");
    EXPECT_EQ(read.get(), 4);
}

TEST_F(BroadcastEndToEndTest, MutexHeldForLongIsGivenUpAfterFiveSeconds) {
    Product("area hold");
    EXPECT_EQ(channel_->GetBroadcast(2), 0);  // without the mutex
    EXPECT_EQ(Failure(10), "CKelcommChannel: Get TSERVER_BROADCAST failed");
    Product("area release");
    Product("broadcast index=10 value=4");
    EXPECT_EQ(channel_->GetBroadcast(10), 4);
}

TEST_F(BroadcastEndToEndTest, MutexAbandonedByAThreadCountsAsOwned) {
    Product("broadcast index=10 value=4");
    Product("area abandon");
    EXPECT_EQ(channel_->GetBroadcast(10), 4);
}

TEST_F(BroadcastEndToEndTest, ProductThatDiesWithTheMutexStopsNobody) {
    EXPECT_EQ(channel_->GetBroadcast(2), 0);  // the area is mapped
    Product("broadcast index=10 value=4");
    product_->Send("area die");
    EXPECT_NE(product_->AwaitEnd(kPatience), 0);
    EXPECT_EQ(channel_->GetBroadcast(10), 4);
}

TEST_F(BroadcastEndToEndTest, ProductThatStartsAgainWritesTheAreaThatIsStillRead) {
    EXPECT_EQ(channel_->GetBroadcast(10), 0);
    product_->Send("area die");
    product_->AwaitEnd(kPatience);
    StartProduct();
    Product("broadcast index=10 value=8");
    EXPECT_EQ(channel_->GetBroadcast(10), 8);
}

TEST_F(BroadcastEndToEndTest, ProductThatStartsInAClearedDirectoryIsReadOnceItIsReachedAgain) {
    EXPECT_EQ(channel_->GetBroadcast(10), 0);
    directory_.Clear();
    StartProduct();
    Product("broadcast index=10 value=8");
    std::string errors;
    EXPECT_TRUE(channel_->Ping(errors)) << errors;
    EXPECT_EQ(channel_->GetBroadcast(10), 8);
}

TEST_F(BroadcastEndToEndTest, AreaThatIsClosedIsReadAsItWasLeft) {
    Product("broadcast index=2 value=6");
    EXPECT_EQ(channel_->GetBroadcast(2), 6);
    Product("area close");
    EXPECT_EQ(channel_->GetBroadcast(2), 6);
}

TEST_F(BroadcastEndToEndTest, MissingAreaIsAFailureUntilItIsThere) {
    Product("area close");
    EXPECT_EQ(Failure(2), "CKelcommChannel: Get broadcast failed");
    Product("area open");
    EXPECT_EQ(channel_->GetBroadcast(2), 0);
}

}  // namespace
}  // namespace Kyr::Lab::SimProduct
