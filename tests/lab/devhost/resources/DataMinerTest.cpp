#include <gmock/gmock.h>
#include <stdexcept>

#include "lab/devhost/database/Database.h"
#include "lab/devhost/resources/Bus.h"
#include "lab/devhost/resources/DataMiner.h"
#include "logs/DataMinerMessages.h"
#include "tests/lab/common/LineList.h"
#include "tests/lab/devhost/resources/TestBus.h"
#include "tests/support/system/TemporaryFolder.h"

namespace Kyr::Test {
namespace {

using Common::Message::DataMiners::CDataMinerStoreEcsIndicatorLogs;
using Common::Message::DataMiners::CDataMinerStoreEcsTelemetryLogs;
using namespace Lab::DevHost;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

template <typename Batch>
boost::shared_ptr<Batch> MakeBatch(const std::vector<std::string>& records) {
    auto batch = boost::make_shared<Batch>();
    batch->SetLogs(records);
    return batch;
}

class DataMinerTest : public ::testing::Test {
  protected:
    const CTemporaryFolder folder_;
    CDatabase database_{folder_.File("host.db")};
    boost::shared_ptr<CBus> bus_ = boost::make_shared<CBus>([](const Lab::CLine&) {});
    CCollectionSteps steps_{std::nullopt, nullptr};
    Lab::CLineList events_;
    CFailures failures_{events_.Sink()};
    CDataMiner miner_{bus_, database_, steps_, failures_, events_.Sink()};
};

TEST_F(DataMinerTest, RecordsAreStoredBeforePublishReturns) {
    miner_.Publish(MakeBatch<CDataMinerStoreEcsIndicatorLogs>({"one", "two"}), {});
    EXPECT_THAT(database_.Records(MessageType::DataMinerStoreEcsIndicatorLogs),
                ElementsAre("one", "two"));
    miner_.Publish(MakeBatch<CDataMinerStoreEcsTelemetryLogs>({"three"}), {});
    EXPECT_THAT(database_.Records(MessageType::DataMinerStoreEcsTelemetryLogs),
                ElementsAre("three"));
    EXPECT_THAT(events_.Texts(),
                ElementsAre("mined name=DataMinerStoreEcsIndicatorLogs records=2",
                            "mined name=DataMinerStoreEcsTelemetryLogs records=1"));
}

TEST_F(DataMinerTest, MessagesGoOnToTheBus) {
    const auto subscriber = boost::make_shared<CKeepingSubscriber>();
    miner_.Subscribe(subscriber, MessageType::DataMinerStoreEcsTelemetryLogs);
    miner_.Subscribe(subscriber, MessageType::Response);
    miner_.Publish(MakeBatch<CDataMinerStoreEcsTelemetryLogs>({"one"}), {});
    miner_.Publish(MakeMessage(), {});
    bus_->WaitUntilDelivered();
    EXPECT_EQ(2u, subscriber->messages.size());
    EXPECT_EQ(1u, events_.Texts().size());
}

TEST_F(DataMinerTest, RecordsThatCannotBeStoredAreNotPublished) {
    const auto subscriber = boost::make_shared<CKeepingSubscriber>();
    miner_.Subscribe(subscriber, MessageType::DataMinerStoreEcsTelemetryLogs);
    Lab::DevHost::CSqliteConnection(folder_.File("host.db")).Execute("DROP TABLE mined_records");
    EXPECT_THROW(miner_.Publish(MakeBatch<CDataMinerStoreEcsTelemetryLogs>({"one"}), {}),
                 std::runtime_error);
    bus_->WaitUntilDelivered();
    EXPECT_THAT(subscriber->messages, IsEmpty());
}

TEST_F(DataMinerTest, PublishThatIsToFailStoresAndPublishesNothing) {
    const auto subscriber = boost::make_shared<CKeepingSubscriber>();
    miner_.Subscribe(subscriber, MessageType::DataMinerStoreEcsTelemetryLogs);
    failures_.Add(Failure::kPublish, {1, {}});
    EXPECT_THROW(miner_.Publish(MakeBatch<CDataMinerStoreEcsTelemetryLogs>({"one"}), {}),
                 std::runtime_error);
    bus_->WaitUntilDelivered();
    EXPECT_THAT(subscriber->messages, IsEmpty());
    EXPECT_THAT(database_.Records(MessageType::DataMinerStoreEcsTelemetryLogs), IsEmpty());
    EXPECT_THAT(events_.Texts(),
                ElementsAre("failed fault=publish subject=DataMinerStoreEcsTelemetryLogs"));
    miner_.Publish(MakeMessage(), {});
}

TEST_F(DataMinerTest, NoMessageIsAnError) {
    EXPECT_THROW(miner_.Publish({}, {}), std::invalid_argument);
}

}  // namespace
}  // namespace Kyr::Test
