// A reporter on a clock that stands still, and what tests look up in the logs that it makes.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include <boost/make_shared.hpp>

#include "connector/reports/Reporter.h"
#include "host/logs/ISymbolContainer.h"
#include "tests/support/ThrownText.h"
#include "tests/support/time/ManualClock.h"

namespace Kyr::Connectors::Common {

class ReportFixture : public testing::Test {
  protected:
    using Row = Kyr::Common::Logs::ISymbolContainer;

    static std::vector<int> Ids(const Row& row) {
        std::vector<int> ids;
        for (std::size_t index = 0; index < row.GetCount(); ++index) {
            ids.push_back(row.GetSymbolAt(index));
        }
        return ids;
    }
    /// "2023-11-14 22:13:20" is the clock's time.
    static std::string Time(const Row& row, int symbol) {
        const auto time = row.GetUtcTime(symbol);
        return std::to_string(time.year()) + "-" + std::to_string(time.month()) + "-" +
               std::to_string(time.day()) + " " + std::to_string(time.hour()) + ":" +
               std::to_string(time.minute()) + ":" + std::to_string(time.second());
    }

    Reporter reporter{"12345678-9abc-def0-1234-56789abcdef0",
                      boost::make_shared<Kyr::Test::CManualClock>(), 0x07100000000005E2, 17};
};

}  // namespace Kyr::Connectors::Common
