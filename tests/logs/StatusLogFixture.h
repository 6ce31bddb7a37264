// Descriptors for tests of both kinds of status logs.
#pragma once

#include <gtest/gtest.h>
#include <string>

#include <boost/make_shared.hpp>

#include "host/logs/LogDescriptorMapOverride.h"
#include "logs/MultiProductStatusLog.h"
#include "logs/StatusLog.h"
#include "logs/SymbolContainer.h"
#include "tests/support/ThrownText.h"
#include "tests/support/time/ManualClock.h"

namespace Kyr::Test {

namespace StatusLogTypes {
using Common::Kernel::MessageType;
constexpr auto kEvent = static_cast<MessageType>(20001);
constexpr auto kStatus = static_cast<MessageType>(20002);
constexpr auto kOtherStatus = static_cast<MessageType>(20003);
constexpr auto kMultiProduct = static_cast<MessageType>(20004);
constexpr auto kOtherMultiProduct = static_cast<MessageType>(20005);
}  // namespace StatusLogTypes

/// The symbols of kStatus and kMultiProduct: 1 is a mandatory integer, 10 to 17 have the data types
/// 0 to 7, 20 has a data type that does not exist. In kMultiProduct, 32 and 31 are product keys.
class StatusLogFixture : public ::testing::Test {
  protected:
    using MessageType = Common::Kernel::MessageType;
    using Row = boost::shared_ptr<Common::Logs::ISymbolContainer>;

    static Row NewRow() { return boost::make_shared<Common::Logs::CSymbolContainer>(); }

    static boost::shared_ptr<CManualClock> ClockOf1970() {
        const auto clock = boost::make_shared<CManualClock>();
        clock->SetStartTime(0);
        return clock;
    }

    /// `row` is one of the log.
    static void ExpectReadOnlyLocks(Common::Message::CLogMessage& log, const Row& row) {
        log.SetReadOnly();
        EXPECT_TRUE(log.IsReadOnly());
        EXPECT_EQ(Thrown([&] { row->AddInt64(11, 1); }),
                  "Cannot add symbol 11: container is locked");
    }

    template <typename Action>
    static std::string Thrown(Action action) {
        return ThrownText(action);
    }

  private:
    static std::vector<Common::Logs::CSymbolDescriptor> Symbols() {
        using namespace Common::Logs;
        return {{1, kInteger, {TAG_MANDATORY}},
                {10, kBool},
                {11, kInteger},
                {12, kDouble},
                {13, kResourceId},
                {14, kString},
                {15, kTime},
                {16, kUuid},
                {17, kBlob},
                {20, static_cast<SymbolDataType>(8)}};
    }

    static std::vector<Common::Logs::CSymbolDescriptor> ProductSymbols() {
        auto symbols = Symbols();
        symbols.push_back({32, Common::Logs::kString, {Common::Logs::TAG_PRODUCT_KEY}});
        symbols.push_back({31, Common::Logs::kResourceId, {Common::Logs::TAG_PRODUCT_KEY}});
        return symbols;
    }

    static Common::Logs::CLogMessageDescriptor Status(MessageType type,
                                                      Common::Logs::LogType logType) {
        return {{Common::Logs::kNoMessageType, Common::Logs::kNoMessageType, type},
                Common::DataDefinition::Logs::UNKNOWN,
                logType};
    }

    const Common::Logs::CLogDescriptorMap descriptors_{
        {{{StatusLogTypes::kEvent, Common::Logs::kNoMessageType, Common::Logs::kNoMessageType},
          Common::DataDefinition::Logs::TASK,
          Common::DataDefinition::Logs::UNKNOWN},
         Status(StatusLogTypes::kStatus, Common::DataDefinition::Logs::PROTECTION_STATUS),
         Status(StatusLogTypes::kOtherStatus, Common::DataDefinition::Logs::PROTECTION_STATUS),
         Status(StatusLogTypes::kMultiProduct, Common::DataDefinition::Logs::PRODUCT_PRESENCE),
         Status(StatusLogTypes::kOtherMultiProduct,
                Common::DataDefinition::Logs::PRODUCT_PRESENCE)},
        {{Common::DataDefinition::Logs::PROTECTION_STATUS, false, Symbols()},
         {Common::DataDefinition::Logs::PRODUCT_PRESENCE, true, ProductSymbols()}}};
    const Common::Logs::CLogDescriptorMapOverride override_{descriptors_};
};

/// A row that tells wrong things of itself: one symbol twice, or values of its own making.
class CLyingRow : public Common::Logs::CSymbolContainer {
  public:
    std::size_t GetCount() const override { return CSymbolContainer::GetCount() + repeated; }
    std::int32_t GetSymbolAt(std::size_t index) const override {
        return CSymbolContainer::GetSymbolAt(index % CSymbolContainer::GetCount());
    }
    MultiDataType GetValue(std::int32_t id) const override {
        return id == lyingId ? lie : CSymbolContainer::GetValue(id);
    }

    std::size_t repeated = 0;
    std::int32_t lyingId = -1;
    MultiDataType lie;
};

}  // namespace Kyr::Test
