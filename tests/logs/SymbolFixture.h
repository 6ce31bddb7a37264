// What tests of symbol rows share: values of every kind and the log descriptors that limit texts.
#pragma once

#include <gtest/gtest.h>
#include <string>
#include <vector>

#include <boost/make_shared.hpp>

#include "host/logs/LogDescriptorMapOverride.h"
#include "logs/SymbolContainer.h"
#include "tests/support/ThrownText.h"
#include "tests/support/time/ManualClock.h"

namespace Kyr::Test {

using Common::Logs::CSymbolContainer;
using Common::Logs::ISymbolContainer;
using MultiDataType = ISymbolContainer::MultiDataType;

constexpr char kUuidText[] = "01234567-89ab-cdef-0011-223344556677";
constexpr std::uint8_t kUuidBytes[] = {0x01, 0x23, 0x45, 0x67, 0x89, 0xAB, 0xCD, 0xEF,
                                       0x00, 0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77};

/// 2023-11-14T22:13:20.
inline ISymbolContainer::UTCTime SomeUtcTime() {
    ISymbolContainer::UTCTime time;
    time.set_year(2023);
    time.set_month(11);
    time.set_day(14);
    time.set_hour(22);
    time.set_minute(13);
    time.set_second(20);
    return time;
}

inline ISymbolContainer::Uuid UuidMessage(const std::string& text) {
    ISymbolContainer::Uuid uuid;
    uuid.set_uuid(text);
    return uuid;
}

inline MultiDataType IntegerValue(std::int64_t value) {
    MultiDataType result;
    result.add_val_int(value);
    return result;
}

inline MultiDataType TextValue(const std::string& value) {
    MultiDataType result;
    result.add_val_string(value);
    return result;
}

inline std::vector<std::int32_t> IdsOf(const ISymbolContainer& row) {
    std::vector<std::int32_t> ids;
    for (std::size_t index = 0; index < row.GetCount(); ++index) {
        ids.push_back(row.GetSymbolAt(index));
    }
    return ids;
}

class SymbolFixture : public ::testing::Test {
  protected:
    /// Symbols with a length limit: 10 may have 10 bytes; 50 has no limit, 60 a limit that
    /// is negative as a signed number.
    static std::vector<Common::Logs::CSymbolDescriptor> LimitedSymbols() {
        return {{10, Common::Logs::kString, {}, 10},
                {50, Common::Logs::kString, {}, 0},
                {60, Common::Logs::kString, {}, 0x80000000u}};
    }

    /// The row that has one symbol of every kind: 101 to 108 in the order of the kinds.
    static void FillWithAllKinds(ISymbolContainer& row) {
        row.AddBlob(101, std::string("\0\xFF", 2))
            .AddInt64(102, -2)
            .AddDouble(103, 1.5)
            .AddString(104, "text")
            .AddResourceId(105, 0x07100000000005E2)
            .AddUtcTime(106, SomeUtcTime())
            .AddUuidString(107, kUuidText)
            .AddBool(108, true);
    }

    template <typename Action>
    static std::string Thrown(Action action) {
        return ThrownText(action);
    }

    const Common::Logs::CLogDescriptorMap descriptors_{
        {}, {{Common::DataDefinition::Logs::TASK, false, LimitedSymbols()}}};
    const Common::Logs::CLogDescriptorMapOverride override_{descriptors_};
    const boost::shared_ptr<CManualClock> clock_ = boost::make_shared<CManualClock>();
    CSymbolContainer row_{clock_};
};

}  // namespace Kyr::Test
