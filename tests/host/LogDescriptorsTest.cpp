#include <gtest/gtest.h>
#include <iterator>
#include <string>

#include "host/logs/LogDescriptorMapOverride.h"
#include "host/logs/LogDescriptorTable.h"
#include "tests/support/ThrownText.h"

namespace Kyr::Common::Logs {
namespace {

using Kernel::MessageType;
using Test::ThrownText;

constexpr auto kEvent = static_cast<MessageType>(20001);
constexpr auto kDelta = static_cast<MessageType>(20002);
constexpr auto kStatus = static_cast<MessageType>(20003);

const CLogDescriptorMap& StandardMap() {
    return CLogDescriptorMap::Instance();
}

/// Each symbol with number and data type, in the declared order. Behind what a row must have stands
/// "!", behind what tells products apart "#".
std::string SymbolsOf(const CLogDescriptor& log) {
    std::string text;
    for (const auto& symbol : log.GetDeltaSymbols()) {
        text += (text.empty() ? "" : " ") + std::to_string(symbol->GetDeltaSymbolType()) + ":" +
                std::to_string(symbol->GetDataType()) + (symbol->HasTag(TAG_MANDATORY) ? "!" : "") +
                (symbol->HasTag(TAG_PRODUCT_KEY) ? "#" : "");
    }
    return text;
}

/// The numbers of the symbols with that tag.
std::string Tagged(const CLogDescriptor& log, std::int32_t tag) {
    std::string text;
    for (const auto& symbol : log.GetDeltaSymbolsByTag(tag)) {
        text += (text.empty() ? "" : " ") + std::to_string(symbol->GetDeltaSymbolType());
    }
    return text;
}

CLogDescriptorMap SmallMap() {
    return {
        {{{kEvent, kDelta, kStatus},
          DataDefinition::Logs::TASK,
          DataDefinition::Logs::PROTECTION_STATUS}},
        {{DataDefinition::Logs::PROTECTION_STATUS, true, {{1, kString, {6, 15}, 10}, {2, kBool}}}}};
}

// The classes

TEST(LogDescriptorsTest, LogKeepsItsSymbolsInTheDeclaredOrder) {
    const auto log = SmallMap().GetLogDescriptor(kStatus);
    EXPECT_TRUE(log->IsLogMultiproduct());
    ASSERT_EQ(log->GetDeltaSymbols().size(), 2u);
    EXPECT_EQ(log->GetDeltaSymbols()[0]->GetDeltaSymbolType(), 1);
    EXPECT_EQ(Tagged(*log, 6), "1");
    EXPECT_THROW(log->GetSymbolDescriptor(3), std::runtime_error);
    const auto symbol = log->GetSymbolDescriptor(1);
    EXPECT_EQ(symbol->GetDeltaSymbolType(), 1);
    EXPECT_EQ(symbol->GetDataType(), kString);
    EXPECT_EQ(symbol->GetOtlLength(), 10u);
    EXPECT_TRUE(symbol->HasTag(15));
    EXPECT_FALSE(symbol->HasTag(7));
}

TEST(LogDescriptorsTest, MessageDescriptorTellsTheFormsApart) {
    const CLogDescriptorMap map = SmallMap();
    for (const MessageType type : {kEvent, kDelta, kStatus}) {
        const auto& message = map.GetMessageDescriptor(type);
        EXPECT_EQ(message.GetEventMessageType(), kEvent);
        EXPECT_EQ(message.GetDeltaMessageType(), kDelta);
        EXPECT_EQ(message.GetStatusMessageType(), kStatus);
        EXPECT_EQ(message.IsDelta(type), type == kDelta);
        EXPECT_EQ(message.GetEventLogType(), DataDefinition::Logs::TASK);
        EXPECT_EQ(message.GetDeltaLogType(), DataDefinition::Logs::PROTECTION_STATUS);
        EXPECT_EQ(message.GetLogType(type), type == kEvent
                                                ? DataDefinition::Logs::TASK
                                                : DataDefinition::Logs::PROTECTION_STATUS);
    }
}

TEST(LogDescriptorsTest, MapRefusesWhatItDoesNotKnow) {
    const CLogDescriptorMap map = SmallMap();
    EXPECT_FALSE(map.HasSymbol(99));
    EXPECT_EQ(ThrownText([&] { map.GetLogTypeBySymbol(99); }),
              "CLogDescriptorMap: Symbol 99 belongs to no log");
    EXPECT_EQ(ThrownText([&] { map.GetLogDescriptor(DataDefinition::Logs::TASK); }),
              "CLogDescriptorMap: Log type 4 has no descriptor");
}

TEST(LogDescriptorsTest, OverridesNestAndEnd) {
    const CLogDescriptorMap outer = SmallMap();
    const CLogDescriptorMap inner({}, {});
    {
        const CLogDescriptorMapOverride first(outer);
        EXPECT_EQ(&CLogDescriptorMap::Instance(), &outer);
        {
            const CLogDescriptorMapOverride second(inner);
            EXPECT_EQ(&CLogDescriptorMap::Instance(), &inner);
        }
        EXPECT_EQ(&CLogDescriptorMap::Instance(), &outer);
    }
    EXPECT_TRUE(CLogDescriptorMap::Instance().HasSymbol(4429));
}

// The table

TEST(LogDescriptorTableTest, EachTypeOfALogHasOneFormAndOthersHaveNone) {
    const struct {
        MessageType type;
        MessageType event;
        MessageType status;
        LogType log;
    } kRows[] = {
        {MessageType::TaskEvent, MessageType::TaskEvent, kNoMessageType,
         DataDefinition::Logs::TASK},
        {MessageType::ConfigurationEvent, MessageType::ConfigurationEvent, kNoMessageType,
         DataDefinition::Logs::PRODUCT_CONFIGURATION},
        {MessageType::ProductStatus, kNoMessageType, MessageType::ProductStatus,
         DataDefinition::Logs::PROTECTION_STATUS},
        {MessageType::PresenceStatus, kNoMessageType, MessageType::PresenceStatus,
         DataDefinition::Logs::AGENT_PRESENCE},
        {MessageType::MultiProductStatus, kNoMessageType, MessageType::MultiProductStatus,
         DataDefinition::Logs::PRODUCT_PRESENCE},
        {MessageType::KillProcessByPid, kNoMessageType, kNoMessageType,
         DataDefinition::Logs::UNKNOWN},
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(static_cast<int>(row.type));
        const auto& message = StandardMap().GetMessageDescriptor(row.type);
        EXPECT_EQ(message.GetEventMessageType(), row.event);
        EXPECT_EQ(message.GetStatusMessageType(), row.status);
        EXPECT_EQ(message.GetDeltaMessageType(), kNoMessageType);
        EXPECT_EQ(message.GetLogType(row.type), row.log);
        if (row.status != kNoMessageType) {
            EXPECT_EQ(StandardMap().GetLogDescriptor(row.type)->GetLogType(), row.log);
        }
    }
}

TEST(LogDescriptorTableTest, EachLogHasItsSymbolsWithoutLimitsAndNoOtherLogHasThem) {
    const struct {
        LogType type;
        bool isMultiproduct;
        const char* symbols;
        const char* mandatory;
        const char* productKey;
    } kRows[] = {
        {DataDefinition::Logs::PROTECTION_STATUS, false,
         "235:6! 241:1! 242:5! 244:1! 245:3! 246:3! 247:3! 248:3! 4298:3",
         "235 241 242 244 245 246 247 248", ""},
        {DataDefinition::Logs::AGENT_PRESENCE, false, "2141:6! 2143:1! 2144:5! 2146:1! 2147:1!",
         "2141 2143 2144 2146 2147", ""},
        {DataDefinition::Logs::PRODUCT_PRESENCE, true,
         "3552:6! 3554:1! 3555:5! 3559:1! 3560:4! 4429:3#", "3552 3554 3555 3559 3560", "4429"},
        {DataDefinition::Logs::TASK, false,
         "2834:6! 2836:1! 2838:5! 2842:6! 2844:6! 2846:6! 2848:3! 2850:1! 2853:3! 2913:4",
         "2834 2836 2838 2842 2844 2846 2848 2850 2853", ""},
        {DataDefinition::Logs::PRODUCT_CONFIGURATION, false,
         "1886:6! 1888:1! 1889:5! 1891:3! 1892:7!", "1886 1888 1889 1891 1892", ""},
    };
    EXPECT_EQ(LogTable().size(), std::size(kRows));
    for (const auto& row : kRows) {
        const auto log = StandardMap().GetLogDescriptor(row.type);
        EXPECT_EQ(log->GetLogType(), row.type);
        EXPECT_EQ(log->IsLogMultiproduct(), row.isMultiproduct) << row.symbols;
        EXPECT_EQ(SymbolsOf(*log), row.symbols);
        EXPECT_EQ(Tagged(*log, TAG_MANDATORY), row.mandatory);
        EXPECT_EQ(Tagged(*log, TAG_PRODUCT_KEY), row.productKey);
        for (const auto& symbol : log->GetDeltaSymbols()) {
            EXPECT_EQ(symbol->GetOtlLength(), 0u);
            EXPECT_EQ(StandardMap().GetLogTypeBySymbol(symbol->GetDeltaSymbolType()), row.type);
        }
    }
}

}  // namespace
}  // namespace Kyr::Common::Logs
