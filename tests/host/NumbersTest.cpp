// The numbers by which the host routes messages and hands out what it lends.
#include <gtest/gtest.h>

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

}  // namespace
}  // namespace Kyr::Common
