// The logs symbol by symbol, and against the host's description of their types.
#include "connector/reports/Presence.h"
#include "tests/connector/reports/ReportFixture.h"

namespace Kyr::Connectors::Common {
namespace {

using Kyr::Test::ThrownText;
using testing::ElementsAre;

class PresenceTest : public ReportFixture {
  protected:
    static constexpr std::uint64_t kProduct = 0x07100000000007AA;
};

TEST_F(PresenceTest, AgentPresence) {
    const auto log = MakeAgentPresence(reporter);
    EXPECT_EQ(static_cast<int>(log->GetMessageType()), 10292);
    ASSERT_EQ(log->GetSymbols()->GetRowCount(), 1u);
    const auto row = log->GetSymbols()->GetRow(0);
    EXPECT_THAT(Ids(*row), ElementsAre(2143, 2141, 2144, 2146, 2147));
    EXPECT_EQ(row->GetInt32(2143), 1);
    EXPECT_EQ(row->GetUuid(2141).uuid(), "12345678-9abc-def0-1234-56789abcdef0");
    EXPECT_EQ(Time(*row, 2144), "2023-11-14 22:13:20");
    EXPECT_EQ(row->GetInt64(2146), 8);
    EXPECT_EQ(row->GetInt64(2147), 64);
}

TEST_F(PresenceTest, ProductPresence) {
    const auto log = MakeProductPresence(reporter, kProduct);
    EXPECT_EQ(static_cast<int>(log->GetMessageType()), 10405);
    ASSERT_EQ(log->GetSymbols()->GetRowCount(), 1u);
    const auto row = log->GetSymbols()->GetRow(0);
    EXPECT_THAT(Ids(*row), ElementsAre(3560, 3554, 3552, 3555, 3559, 4429));
    EXPECT_EQ(row->GetString(3560), "tulk.local.products.ov.agent");
    EXPECT_EQ(row->GetInt32(3554), 6);
    EXPECT_EQ(row->GetUuid(3552).uuid(), "12345678-9abc-def0-1234-56789abcdef0");
    EXPECT_EQ(Time(*row, 3555), "2023-11-14 22:13:20");
    EXPECT_EQ(row->GetInt64(3559), 17);
    EXPECT_EQ(row->GetResourceId(4429), 0x07100000000007AAu);
}

TEST_F(PresenceTest, ProductPresenceIsIdentifiedByTheProduct) {
    const auto product = MakeProductPresence(reporter, kProduct)->GetProductIdentification();
    EXPECT_THAT(Ids(*product), ElementsAre(4429));
    EXPECT_EQ(product->GetResourceId(4429), 0x07100000000007AAu);
}

TEST_F(PresenceTest, DeactivatedStatusNamesItsProductAndHasNoRow) {
    const auto log = MakeDeactivatedStatus(kProduct, reporter.clock);
    EXPECT_EQ(static_cast<int>(log->GetMessageType()), 10405);
    EXPECT_EQ(log->GetSymbols()->GetRowCount(), 0u);
    EXPECT_THAT(Ids(*log->GetProductIdentification()), ElementsAre(4429));
    EXPECT_EQ(log->GetProductIdentification()->GetResourceId(4429), 0x07100000000007AAu);
}

TEST_F(PresenceTest, AllAreReadOnlyAndFitTheirTypes) {
    EXPECT_TRUE(MakeAgentPresence(reporter)->IsReadOnly());
    EXPECT_TRUE(MakeAgentPresence(reporter)->IsValid());
    EXPECT_TRUE(MakeProductPresence(reporter, kProduct)->IsReadOnly());
    EXPECT_TRUE(MakeProductPresence(reporter, kProduct)->IsValid());
    EXPECT_TRUE(MakeDeactivatedStatus(kProduct, reporter.clock)->IsReadOnly());
}

TEST_F(PresenceTest, InstanceThatIsNoUuidIsRefused) {
    reporter.instanceUuid = "agent 7";
    EXPECT_EQ(ThrownText([this] { MakeAgentPresence(reporter); }), "invalid uuid string");
    EXPECT_EQ(ThrownText([this] { MakeProductPresence(reporter, kProduct); }),
              "invalid uuid string");
}

}  // namespace
}  // namespace Kyr::Connectors::Common
