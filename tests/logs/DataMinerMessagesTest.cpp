#include <gtest/gtest.h>

#include "logs/DataMinerMessages.h"
#include "tests/support/ThrownText.h"
#include "tests/support/host/TestMessage.h"

namespace Kyr::Common::Message::DataMiners {
namespace {

using Kernel::MessageType;
using Records = std::vector<std::string>;
using Test::CTestMessage;
using Test::ThrownText;

template <typename Message>
Message MessageOf(const Records& records) {
    Message message;
    message.SetLogs(records);
    return message;
}

template <typename Message>
class DataMinerStoreTest : public ::testing::Test {};

using StoreMessages =
    ::testing::Types<CDataMinerStoreEcsIndicatorLogs, CDataMinerStoreEcsTelemetryLogs>;
TYPED_TEST_SUITE(DataMinerStoreTest, StoreMessages, );

TYPED_TEST(DataMinerStoreTest, NewMessageIsWritableAndEmpty) {
    const TypeParam message;
    EXPECT_TRUE(message.GetLogs().empty());
    EXPECT_FALSE(message.IsReadOnly());
}

TYPED_TEST(DataMinerStoreTest, RecordsAreKeptAsTheyAre) {
    const Records records = {std::string("\0\xFF", 2), ""};
    EXPECT_EQ(MessageOf<TypeParam>(records).GetLogs(), records);
}

TYPED_TEST(DataMinerStoreTest, SetLogsReplacesAndCopies) {
    Records records = {"a"};
    TypeParam message = MessageOf<TypeParam>({"old", "older"});
    message.SetLogs(records);
    records[0] = "changed";
    EXPECT_EQ(message.GetLogs(), Records{"a"});
}

TYPED_TEST(DataMinerStoreTest, SetLogsTakesATemporary) {
    TypeParam message;
    message.SetLogs(Records{"a"});
    EXPECT_EQ(message.GetLogs(), Records{"a"});
}

TYPED_TEST(DataMinerStoreTest, ReadOnlyMessageRefusesRecords) {
    TypeParam message = MessageOf<TypeParam>({"a"});
    message.SetReadOnly();
    const Records records = {"b"};
    EXPECT_EQ(ThrownText([&] { message.SetLogs(records); }), "Message is read only");
    EXPECT_EQ(ThrownText([&] { message.SetLogs(Records{"b"}); }), "Message is read only");
    EXPECT_EQ(message.GetLogs(), Records{"a"});
}

TYPED_TEST(DataMinerStoreTest, SameRecordsInTheSameOrderAreEqual) {
    const auto message = MessageOf<TypeParam>({"a", "b"});
    EXPECT_TRUE(message.Equals(MessageOf<TypeParam>({"a", "b"})));
    EXPECT_FALSE(message.Equals(MessageOf<TypeParam>({"b", "a"})));
    EXPECT_FALSE(message.Equals(MessageOf<TypeParam>({"a"})));
    EXPECT_FALSE(message.Equals(MessageOf<TypeParam>({"a", std::string("b\0", 2)})));
}

TYPED_TEST(DataMinerStoreTest, SameTypeOfAnotherClassIsNotEqual) {
    const TypeParam message;
    EXPECT_FALSE(message.Equals(CTestMessage(message.GetMessageType(), "impostor")));
}

TEST(DataMinerMessagesTest, TypesAndNamesAreTheHosts) {
    EXPECT_EQ(static_cast<int>(CDataMinerStoreEcsIndicatorLogs().GetMessageType()), 76);
    EXPECT_EQ(CDataMinerStoreEcsIndicatorLogs().GetName(), "DataMinerStoreEcsIndicatorLogs");
    EXPECT_EQ(static_cast<int>(CDataMinerStoreEcsTelemetryLogs().GetMessageType()), 77);
    EXPECT_EQ(CDataMinerStoreEcsTelemetryLogs().GetName(), "DataMinerStoreEcsTelemetryLogs");
    EXPECT_EQ(static_cast<int>(CDataMinerOutOfOrderEventMessage().GetMessageType()), 69);
    EXPECT_EQ(CDataMinerOutOfOrderEventMessage().GetName(), "DataMinerOutOfOrderEventMessage");
}

TEST(DataMinerMessagesTest, IndicatorAndTelemetryAreNeverEqual) {
    const auto indicator = MessageOf<CDataMinerStoreEcsIndicatorLogs>({"a"});
    const auto telemetry = MessageOf<CDataMinerStoreEcsTelemetryLogs>({"a"});
    EXPECT_FALSE(indicator.Equals(telemetry));
    EXPECT_FALSE(telemetry.Equals(indicator));
}

TEST(DataMinerMessagesTest, OutOfOrderEventsAreEqualByType) {
    const CDataMinerOutOfOrderEventMessage message;
    EXPECT_TRUE(message.Equals(CDataMinerOutOfOrderEventMessage()));
    EXPECT_TRUE(message.Equals(CTestMessage(MessageType::DataMinerOutOfOrderEvent, "impostor")));
    EXPECT_FALSE(message.Equals(CDataMinerStoreEcsIndicatorLogs()));
}

TEST(DataMinerMessagesTest, OutOfOrderEventCanBeMadeReadOnly) {
    CDataMinerOutOfOrderEventMessage message;
    EXPECT_FALSE(message.IsReadOnly());
    message.SetReadOnly();
    EXPECT_TRUE(message.IsReadOnly());
}

}  // namespace
}  // namespace Kyr::Common::Message::DataMiners
