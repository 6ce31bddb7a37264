#include "connector/reports/ConfigurationEvent.h"
#include "tests/connector/reports/ReportFixture.h"

namespace Kyr::Connectors::Common {
namespace {

using Kyr::Test::ThrownText;
using testing::ElementsAre;

class ConfigurationEventTest : public ReportFixture {};

TEST_F(ConfigurationEventTest, IsAReadOnlyEventOfItsTypeThatFitsItsLog) {
    const auto event = MakeConfigurationEvent("hello", reporter);
    EXPECT_EQ(static_cast<int>(event->GetMessageType()), 10244);
    EXPECT_TRUE(event->IsReadOnly());
    EXPECT_TRUE(event->IsValid());
}

TEST_F(ConfigurationEventTest, SymbolsHoldTheirValuesInTheOrderOfSetting) {
    const auto row = MakeConfigurationEvent("hello", reporter)->GetSymbols();
    EXPECT_THAT(Ids(*row), ElementsAre(1888, 1886, 1889, 1891, 1892));
    EXPECT_EQ(row->GetInt32(1888), 1);
    EXPECT_EQ(row->GetUuid(1886).uuid(), "12345678-9abc-def0-1234-56789abcdef0");
    EXPECT_EQ(Time(*row, 1889), "2023-11-14 22:13:20");
    EXPECT_EQ(row->GetResourceId(1891), 0x07100000000005E2u);
    EXPECT_EQ(row->GetBlob(1892), "hello");
}

TEST_F(ConfigurationEventTest, ConfigurationMayBeEmptyOrAnyBytes) {
    EXPECT_EQ(MakeConfigurationEvent("", reporter)->GetSymbols()->GetBlob(1892), "");
    const std::string bytes("\0\xFF\n", 3);
    EXPECT_EQ(MakeConfigurationEvent(bytes, reporter)->GetSymbols()->GetBlob(1892), bytes);
}

TEST_F(ConfigurationEventTest, InstanceThatIsNoUuidIsRefused) {
    reporter.instanceUuid = "agent 7";
    EXPECT_EQ(ThrownText([this] { MakeConfigurationEvent("hello", reporter); }),
              "invalid uuid string");
}

}  // namespace
}  // namespace Kyr::Connectors::Common
