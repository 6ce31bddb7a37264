#include <algorithm>
#include <gmock/gmock.h>
#include <iterator>
#include <vector>

#include <boost/make_shared.hpp>

#include "lab/devhost/printing/LogPrinter.h"
#include "lab/devhost/printing/SymbolNames.h"
#include "logs/EventLog.h"
#include "logs/MultiProductStatusLog.h"
#include "logs/StatusLog.h"
#include "logs/SymbolContainer.h"

namespace Kyr::Test {
namespace {

using Common::Kernel::MessageType;
using Common::Logs::CSymbolContainer;
using Common::Message::CLogMessage;
using Common::Message::Logs::CEventLog;
using Common::Message::Logs::CMultiProductStatusLog;
using Common::Message::Logs::CStatusLog;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

std::vector<std::string> Print(const CLogMessage& log) {
    std::vector<std::string> lines;
    Lab::DevHost::VisitRows(
        log, [&](const std::string& name, const Common::Logs::ISymbolContainer& row) {
            Lab::CLine line("row");
            line.With("name", name);
            Lab::DevHost::AddSymbols(line, row);
            lines.push_back(line.Text());
        });
    return lines;
}

TEST(LogPrinterTest, EventHasOneRow) {
    CEventLog log(MessageType::TaskEvent);
    log.GetSymbols()->AddInt32(2836, 4).AddString(2913, "not done");
    EXPECT_THAT(Print(log), ElementsAre("row name=0 2836-status=4 2913-description=\"not done\""));
}

TEST(LogPrinterTest, ResourceIdIsHexadecimal) {
    CEventLog log(MessageType::TaskEvent);
    log.GetSymbols()->AddResourceId(2848, 0x000000010000009B);
    EXPECT_THAT(Print(log), ElementsAre("row name=0 2848-outcome=0x000000010000009b"));
}

TEST(LogPrinterTest, NegativeNumberKeepsItsSign) {
    CStatusLog log(MessageType::ProductStatus);
    log.GetSymbols()->CreateRow()->AddInt64(244, -1);
    EXPECT_THAT(Print(log), ElementsAre("row name=0 244-product-type=-1"));
}

TEST(LogPrinterTest, OfABlobOnlyTheSizeIsTold) {
    CEventLog log(MessageType::ConfigurationEvent);
    log.GetSymbols()->AddBlob(1892, std::string("\0\1\2", 3));
    EXPECT_THAT(Print(log), ElementsAre("row name=0 1892-configuration=\"3 bytes\""));
}

TEST(LogPrinterTest, StatusHasARowForEachRow) {
    CStatusLog log(MessageType::PresenceStatus);
    log.GetSymbols()->CreateRow()->AddInt32(2143, 1);
    log.GetSymbols()->CreateRow()->AddInt32(2143, 0);
    EXPECT_THAT(Print(log),
                ElementsAre("row name=0 2143-presence=1", "row name=1 2143-presence=0"));
}

TEST(LogPrinterTest, StatusWithoutRowsPrintsNothing) {
    EXPECT_THAT(Print(CStatusLog(MessageType::PresenceStatus)), IsEmpty());
}

TEST(LogPrinterTest, MultiProductStatusNamesItsProductFirst) {
    const auto product = boost::make_shared<CSymbolContainer>();
    product->AddResourceId(4429, 0x07100000000007AA);
    CMultiProductStatusLog log(MessageType::MultiProductStatus, product);
    log.GetSymbols()->CreateRow()->AddInt32(3554, 6);
    EXPECT_THAT(Print(log), ElementsAre("row name=product 4429-product=0x07100000000007aa",
                                        "row name=0 3554-presence=6"));
}

std::vector<std::string> Keys(const std::vector<std::int32_t>& symbols) {
    std::vector<std::string> keys;
    std::transform(symbols.begin(), symbols.end(), std::back_inserter(keys),
                   Lab::DevHost::SymbolKey);
    return keys;
}

TEST(SymbolNamesTest, SymbolWithoutANameIsItsNumber) {
    EXPECT_THAT(Keys({2146, 2147}), ElementsAre("2146", "2147"));
}

TEST(SymbolNamesTest, SymbolOfNoLogIsItsNumber) {
    EXPECT_THAT(Keys({-1, 0, 236, 2913000}), ElementsAre("-1", "0", "236", "2913000"));
}

}  // namespace
}  // namespace Kyr::Test
