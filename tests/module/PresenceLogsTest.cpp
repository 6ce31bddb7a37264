// The logs symbol by symbol, and against the host's description of their types.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <boost/make_shared.hpp>

#include "logs/MultiProductStatusLog.h"
#include "logs/StatusLog.h"
#include "module/PresenceLogs.h"
#include "tests/support/ManualClock.h"

namespace Kyr::Connectors::OvAgentConnector {
namespace {

using Kyr::Common::Kernel::MessageType;
using Kyr::Common::Message::CLogMessage;
using Kyr::Common::Message::Logs::CMultiProductStatusLog;
using Kyr::Common::Message::Logs::CStatusLog;
using ::testing::ElementsAre;

constexpr char kInstance[] = "12345678-9abc-def0-1234-56789abcdef0";

class PresenceLogsTest : public testing::Test {
  protected:
    /// The only row of a log.
    template <typename Log>
    static Kyr::Common::Logs::IMultiSymbolContainer::Row RowOf(const LogPointer& message) {
        const auto log = boost::dynamic_pointer_cast<Log>(message);
        EXPECT_TRUE(log);
        EXPECT_EQ(log->GetSymbols()->GetRowCount(), 1);
        return log->GetSymbols()->GetRow(0);
    }
    static std::vector<int> Symbols(const Kyr::Common::Logs::ISymbolContainer& row) {
        std::vector<int> symbols;
        for (std::size_t index = 0; index < row.GetCount(); ++index) {
            symbols.push_back(row.GetSymbolAt(index));
        }
        return symbols;
    }
    /// "2023-11-14 22:13:20", the clock's time.
    static std::string Time(const Kyr::Common::Logs::ISymbolContainer& row, int symbol) {
        const auto time = row.GetUtcTime(symbol);
        return std::to_string(time.year()) + "-" + std::to_string(time.month()) + "-" +
               std::to_string(time.day()) + " " + std::to_string(time.hour()) + ":" +
               std::to_string(time.minute()) + ":" + std::to_string(time.second());
    }
    static void ExpectComplete(const LogPointer& message) {
        const auto log = boost::dynamic_pointer_cast<CLogMessage>(message);
        ASSERT_TRUE(log);
        EXPECT_TRUE(log->IsReadOnly());
        EXPECT_NO_THROW(log->Validate());
    }

    const CLogOrigin origin_{kInstance, boost::make_shared<Kyr::Test::CManualClock>()};
};

TEST_F(PresenceLogsTest, AgentPresence) {
    const LogPointer log = MakeAgentPresence(origin_);
    EXPECT_EQ(log->GetMessageType(), MessageType::PresenceStatus);
    const auto row = RowOf<CStatusLog>(log);
    EXPECT_THAT(Symbols(*row), ElementsAre(2143, 2141, 2144, 2146, 2147));
    EXPECT_EQ(row->GetInt32(2143), 1);
    EXPECT_EQ(row->GetUuid(2141).uuid(), kInstance);
    EXPECT_EQ(Time(*row, 2144), "2023-11-14 22:13:20");
    EXPECT_EQ(row->GetInt64(2146), 8);
    EXPECT_EQ(row->GetInt64(2147), 64);
}

TEST_F(PresenceLogsTest, ProductPresence) {
    const LogPointer log = MakeProductPresence(origin_, 0x07100000000007AA);
    EXPECT_EQ(log->GetMessageType(), MessageType::MultiProductStatus);
    const auto row = RowOf<CMultiProductStatusLog>(log);
    EXPECT_THAT(Symbols(*row), ElementsAre(3560, 3554, 3552, 3555, 3559, 4429));
    EXPECT_EQ(row->GetString(3560), "tulk.local.products.ov.agent");
    EXPECT_EQ(row->GetInt32(3554), 6);
    EXPECT_EQ(row->GetUuid(3552).uuid(), kInstance);
    EXPECT_EQ(Time(*row, 3555), "2023-11-14 22:13:20");
    EXPECT_EQ(row->GetInt64(3559), 17);
    EXPECT_EQ(row->GetResourceId(4429), 0x07100000000007AAu);
}

TEST_F(PresenceLogsTest, ProductPresenceIsIdentifiedByTheProduct) {
    const auto log = boost::dynamic_pointer_cast<CMultiProductStatusLog>(
        MakeProductPresence(origin_, 0x07100000000007AA));
    ASSERT_TRUE(log);
    EXPECT_THAT(Symbols(*log->GetProductIdentification()), ElementsAre(4429));
    EXPECT_EQ(log->GetProductIdentification()->GetResourceId(4429), 0x07100000000007AAu);
}

TEST_F(PresenceLogsTest, ConnectedStatus) {
    const LogPointer log = MakeConnectedStatus(origin_);
    EXPECT_EQ(log->GetMessageType(), MessageType::ProductStatus);
    const auto row = RowOf<CStatusLog>(log);
    EXPECT_THAT(Symbols(*row), ElementsAre(241, 235, 242, 244, 245, 246, 247, 248));
    EXPECT_EQ(row->GetInt32(241), 1);
    EXPECT_EQ(row->GetUuid(235).uuid(), kInstance);
    EXPECT_EQ(Time(*row, 242), "2023-11-14 22:13:20");
    EXPECT_EQ(row->GetInt64(244), 17);
    EXPECT_EQ(row->GetResourceId(245), 0x07100000000005E2u);
    EXPECT_EQ(row->GetResourceId(246), 0x071000000000022Bu);
    EXPECT_EQ(row->GetResourceId(247), 0x071000000000021Eu);
    EXPECT_EQ(row->GetResourceId(248), 0xFFFFFFFFFFFFFFFFu);
}

TEST_F(PresenceLogsTest, ConnectFailureStatus) {
    const LogPointer log = MakeConnectFailureStatus(origin_);
    EXPECT_EQ(log->GetMessageType(), MessageType::ProductStatus);
    const auto row = RowOf<CStatusLog>(log);
    EXPECT_THAT(Symbols(*row), ElementsAre(241, 235, 242, 244, 245, 246, 247, 248));
    EXPECT_EQ(row->GetInt32(241), 6);
    EXPECT_EQ(row->GetUuid(235).uuid(), kInstance);
    EXPECT_EQ(Time(*row, 242), "2023-11-14 22:13:20");
    EXPECT_EQ(row->GetInt64(244), 17);
    EXPECT_EQ(row->GetResourceId(245), 0x07100000000005E2u);
    EXPECT_EQ(row->GetResourceId(246), 0x071000000000022Bu);
    EXPECT_EQ(row->GetResourceId(247), 0x0710000000000221u);
    EXPECT_EQ(row->GetResourceId(248), 0x00000001000000B3u);
}

TEST_F(PresenceLogsTest, AllAreReadOnlyAndFitTheirTypes) {
    ExpectComplete(MakeAgentPresence(origin_));
    ExpectComplete(MakeProductPresence(origin_, 0x07100000000007AA));
    ExpectComplete(MakeConnectedStatus(origin_));
    ExpectComplete(MakeConnectFailureStatus(origin_));
}

TEST_F(PresenceLogsTest, InstanceThatIsNoUuidIsRefused) {
    EXPECT_THROW(MakeAgentPresence({"agent 7", origin_.clock}), std::runtime_error);
}

}  // namespace
}  // namespace Kyr::Connectors::OvAgentConnector
