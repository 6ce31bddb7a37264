// The numbers by which the host routes messages and hands out what it lends.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/Catalogue.h"
#include "host/database/IMapper.h"
#include "host/kernel/MessageType.h"
#include "host/kernel/Resources.h"
#include "host/logs/SymbolDescriptor.h"
#include "host/message/ConnectorRequests.h"

namespace Kyr::Common {
namespace {

using Kernel::MessageType;

int Number(MessageType type) {
    return static_cast<int>(type);
}

TEST(NumbersTest, MessageTypes) {
    EXPECT_EQ(Number(MessageType::Reply), 1);
    EXPECT_EQ(Number(MessageType::RequestConfiguration), 5);
    EXPECT_EQ(Number(MessageType::OvAgentRequest), 7);
    EXPECT_EQ(Number(MessageType::TFDERequest), 8);
    EXPECT_EQ(Number(MessageType::TchRequest), 9);
    EXPECT_EQ(Number(MessageType::DataMinerOutOfOrderEvent), 69);
    EXPECT_EQ(Number(MessageType::DataMinerStoreEcsIndicatorLogs), 76);
    EXPECT_EQ(Number(MessageType::DataMinerStoreEcsTelemetryLogs), 77);
    EXPECT_EQ(Number(MessageType::ApplyPolicy), 194);
    EXPECT_EQ(Number(MessageType::Response), 688);
    EXPECT_EQ(Number(MessageType::KillProcessByPid), 918);
    EXPECT_EQ(Number(MessageType::BlockExecutableByHash), 919);
    EXPECT_EQ(Number(MessageType::ProductStatus), 10044);
    EXPECT_EQ(Number(MessageType::ConfigurationEvent), 10244);
    EXPECT_EQ(Number(MessageType::PresenceStatus), 10292);
    EXPECT_EQ(Number(MessageType::TaskEvent), 10368);
    EXPECT_EQ(Number(MessageType::MultiProductStatus), 10405);
}

TEST(NumbersTest, TriggersOfOtherConnectors) {
    namespace Connectors = Message::Connectors;
    EXPECT_EQ(Connectors::TFDEConnector::kProtectionStatus, 0);
    EXPECT_EQ(Connectors::TFDEConnector::kTaskStatus, 2);
    EXPECT_EQ(Connectors::TCHConnector::kProtectionStatus, 1);
}

TEST(NumbersTest, Resources) {
    EXPECT_EQ(Kernel::kBusResource, 1);
    EXPECT_EQ(Kernel::kInstallConfigurationResource, 2);
    EXPECT_EQ(Kernel::kLoggerResource, 3);
    EXPECT_EQ(Kernel::kIdGeneratorResource, 4);
    EXPECT_EQ(Kernel::kDatabaseResource, 6);
    EXPECT_EQ(Kernel::kConfigurationResource, 11);
    EXPECT_EQ(Kernel::kNetworkGrpcResource, 12);
}

TEST(NumbersTest, Mappers) {
    EXPECT_EQ(Database::kKeyValueAccessMapper, 348);
    EXPECT_EQ(Database::kOvRemediationActionsMapper, 388);
}

TEST(NumbersTest, SymbolTagsAndDataTypes) {
    EXPECT_EQ(Logs::TAG_MANDATORY, 6);
    EXPECT_EQ(Logs::TAG_PRODUCT_KEY, 15);
    EXPECT_EQ(Logs::kBool, 0);
    EXPECT_EQ(Logs::kInteger, 1);
    EXPECT_EQ(Logs::kDouble, 2);
    EXPECT_EQ(Logs::kResourceId, 3);
    EXPECT_EQ(Logs::kString, 4);
    EXPECT_EQ(Logs::kTime, 5);
    EXPECT_EQ(Logs::kUuid, 6);
    EXPECT_EQ(Logs::kBlob, 7);
}

TEST(CatalogueTest, Products) {
    EXPECT_EQ(Catalogue::Product::kOvAgent, 0x07100000000007AAu);
    EXPECT_EQ(Catalogue::Product::kOvAgentInLogs, 0x07100000000005E2u);
    EXPECT_STREQ(Catalogue::Product::kDomain, "tulk.local.products.");
    EXPECT_STREQ(Catalogue::Product::kOvAgentName, "ov.agent");
    EXPECT_EQ(Catalogue::ProductType::kOvAgent, 17);
    EXPECT_THAT(Catalogue::ProductType::kConfiguredOvAgent, testing::ElementsAre(0, 9));
}

TEST(CatalogueTest, PresenceAndConfiguration) {
    EXPECT_EQ(Catalogue::Presence::kAgentPresent, 1);
    EXPECT_EQ(Catalogue::Presence::kProductPresent, 6);
    EXPECT_EQ(Catalogue::Presence::kAgent2146, 8);
    EXPECT_EQ(Catalogue::Presence::kAgent2147, 64);
    EXPECT_EQ(Catalogue::Configuration::kExported, 1);
}

TEST(CatalogueTest, ProtectionStatus) {
    EXPECT_EQ(Catalogue::Protection::kFineSeverity, 1);
    EXPECT_EQ(Catalogue::Protection::kWarningSeverity, 3);
    EXPECT_EQ(Catalogue::Protection::kProblemSeverity, 5);
    EXPECT_EQ(Catalogue::Protection::kNotConnectedSeverity, 6);
    EXPECT_EQ(Catalogue::Protection::kFineText, 0x071000000000021Eu);
    EXPECT_EQ(Catalogue::Protection::kWarningText, 0x071000000000021Fu);
    EXPECT_EQ(Catalogue::Protection::kProblemText, 0x0710000000000220u);
    EXPECT_EQ(Catalogue::Protection::kNotConnectedText, 0x0710000000000221u);
    EXPECT_EQ(Catalogue::Protection::kWholeProduct, 0x071000000000022Bu);
    EXPECT_EQ(Catalogue::Protection::kNoStatus, 0xFFFFFFFFFFFFFFFFu);
    EXPECT_EQ(Catalogue::Protection::kConnectionFailed, 0x00000001000000B3u);
}

TEST(CatalogueTest, OutcomesOfTasks) {
    EXPECT_EQ(Catalogue::Task::kNotFailed, 1);
    EXPECT_EQ(Catalogue::Task::kFailed, 4);
    EXPECT_EQ(Catalogue::Task::kWarningSeverity, 20);
    EXPECT_EQ(Catalogue::Task::kInformationSeverity, 30);
    EXPECT_EQ(Catalogue::Task::kErrorSeverity, 40);
    EXPECT_EQ(Catalogue::Task::kWarningText, 0x000000010000000Au);
    EXPECT_EQ(Catalogue::Task::kDoneText, 0x000000010000000Bu);
    EXPECT_EQ(Catalogue::Task::kFailedText, 0x000000010000000Cu);
    EXPECT_EQ(Catalogue::Task::kCancelledText, 0x000000010000009Bu);
}

}  // namespace
}  // namespace Kyr::Common
