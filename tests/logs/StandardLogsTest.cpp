// The logs that the connector publishes, with the symbols and kinds that it puts in, against the
// host's own descriptor table.
#include <gtest/gtest.h>

#include <boost/make_shared.hpp>

#include "logs/EventLog.h"
#include "logs/MultiProductStatusLog.h"
#include "logs/StatusLog.h"
#include "logs/SymbolContainer.h"

namespace Kyr::Common::Message::Logs {
namespace {

using Kernel::MessageType;

constexpr char kUuid[] = "01234567-89ab-cdef-0011-223344556677";
constexpr std::uint64_t kProduct = 0x07100000000005E2;

boost::shared_ptr<Common::Logs::ISymbolContainer> ProductOf(std::uint64_t product) {
    const auto symbols = boost::make_shared<Common::Logs::CSymbolContainer>();
    symbols->AddResourceId(4429, product);
    return symbols;
}

CEventLog TaskLog() {
    CEventLog log(MessageType::TaskEvent);
    log.GetSymbols()
        ->AddInt32(2836, 4)
        .AddUuidString(2834, kUuid)
        .AddCurrentTime(2838)
        .AddUuidString(2842, kUuid)
        .AddUuidString(2846, kUuid)
        .AddUuidString(2844, kUuid)
        .AddResourceId(2848, 0x000000010000000C)
        .AddResourceId(2853, kProduct)
        .AddInt64(2850, 40);
    return log;
}

TEST(StandardLogsTest, ProtectionStatusIsValid) {
    const CStatusLog log(MessageType::ProductStatus);
    log.GetSymbols()
        ->CreateRow()
        ->AddInt64(241, 3)
        .AddUuidString(235, kUuid)
        .AddCurrentTime(242)
        .AddInt64(244, 17)
        .AddResourceId(245, kProduct)
        .AddResourceId(246, 0x071000000000022B)
        .AddResourceId(247, 0x071000000000021E)
        .AddResourceId(248, 0xFFFFFFFFFFFFFFFF);
    EXPECT_NO_THROW(log.Validate());
    log.GetSymbols()->GetRow(0)->AddResourceId(4298, 1);
    EXPECT_NO_THROW(log.Validate());
}

TEST(StandardLogsTest, AgentPresenceIsValid) {
    const CStatusLog log(MessageType::PresenceStatus);
    log.GetSymbols()
        ->CreateRow()
        ->AddInt32(2143, 1)
        .AddUuidString(2141, kUuid)
        .AddCurrentTime(2144)
        .AddInt64(2146, 8)
        .AddInt64(2147, 64);
    EXPECT_NO_THROW(log.Validate());
}

TEST(StandardLogsTest, ProductPresenceIsValid) {
    const CMultiProductStatusLog log(MessageType::MultiProductStatus, ProductOf(kProduct));
    log.GetSymbols()
        ->CreateRow()
        ->AddString(3560, "tulk.local.products.ov.agent")
        .AddInt32(3554, 6)
        .AddUuidString(3552, kUuid)
        .AddCurrentTime(3555)
        .AddInt64(3559, 17)
        .AddResourceId(4429, kProduct);
    EXPECT_NO_THROW(log.Validate());
}

TEST(StandardLogsTest, DeactivatedProductIsValid) {
    const CMultiProductStatusLog log(MessageType::MultiProductStatus, ProductOf(kProduct));
    EXPECT_NO_THROW(log.Validate());
}

TEST(StandardLogsTest, TaskEventIsValidWithAndWithoutADescription) {
    const CEventLog log = TaskLog();
    EXPECT_NO_THROW(log.Validate());
    log.GetSymbols()->AddString(2913, "Task failed");
    EXPECT_NO_THROW(log.Validate());
}

TEST(StandardLogsTest, ConfigurationEventIsValid) {
    const CEventLog log(MessageType::ConfigurationEvent);
    log.GetSymbols()
        ->AddInt32(1888, 1)
        .AddUuidString(1886, kUuid)
        .AddCurrentTime(1889)
        .AddResourceId(1891, kProduct)
        .AddBlob(1892, "configuration");
    EXPECT_NO_THROW(log.Validate());
}

// The host's check of event rows

TEST(StandardLogsTest, EventWithoutAMandatorySymbolIsInvalid) {
    const CEventLog log = TaskLog();
    log.GetSymbols()->RemoveSymbol(2842);
    EXPECT_FALSE(log.IsValid());
}

TEST(StandardLogsTest, EventWithAForeignSymbolIsInvalid) {
    const CEventLog log = TaskLog();
    log.GetSymbols()->AddBool(241, true);
    EXPECT_FALSE(log.IsValid());
}

TEST(StandardLogsTest, EventWithASymbolOfAnotherKindIsInvalid) {
    const CEventLog log = TaskLog();
    log.GetSymbols()->RemoveSymbol(2848);
    log.GetSymbols()->AddInt64(2848, 1);
    EXPECT_FALSE(log.IsValid());
}

}  // namespace
}  // namespace Kyr::Common::Message::Logs
