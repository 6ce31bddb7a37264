#include <gmock/gmock.h>
#include <vector>

#include <boost/make_shared.hpp>

#include "lab/devhost/printing/LogPrinter.h"
#include "logs/EventLog.h"
#include "logs/MultiProductStatusLog.h"
#include "logs/StatusLog.h"
#include "logs/SymbolContainer.h"
#include "tests/lab/common/LineList.h"

namespace Kyr::Test {
namespace {

using Common::Kernel::MessageType;
using Common::Logs::CSymbolContainer;
using Common::Message::Logs::CEventLog;
using Common::Message::Logs::CMultiProductStatusLog;
using Common::Message::Logs::CStatusLog;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

std::vector<std::string> Told(const Common::Message::CLogMessage& log) {
    Lab::CLineList events;
    Lab::DevHost::TellRows(
        log, [](const char* kind) { return Lab::CLine(kind).With("of", "log"); }, events.Sink());
    return events.Take();
}

TEST(LogPrinterTest, EachKindOfValueHasItsTextAndABlobIsToldWhole) {
    Common::Logs::ISymbolContainer::UTCTime leapDay;
    leapDay.set_year(2024);
    leapDay.set_month(2);
    leapDay.set_day(29);
    leapDay.set_hour(1);
    leapDay.set_minute(2);
    leapDay.set_second(3);
    const CEventLog log(MessageType::TaskEvent);
    log.GetSymbols()
        ->AddInt32(2836, 4)
        .AddInt64(244, -1)
        .AddString(2913, "not done")
        .AddResourceId(2848, 0x000000010000009B)
        .AddBool(1, true)
        .AddDouble(2, 0.5)
        .AddUtcTime(2838, leapDay)
        .AddUuidString(2834, "6ba7b810-9dad-11d1-80b4-00c04fd430c8")
        .AddBlob(1892, std::string("\0a\n", 3));
    EXPECT_THAT(
        Told(log),
        ElementsAre(
            "symbols of=log row=0 2836-status=4 244-product-type=-1 2913-description=\"not done\" "
            "2848-outcome=0x000000010000009b 1=true 2=0.5 2838-time=2024-02-29T01:02:03Z "
            "2834-agent=6ba7b810-9dad-11d1-80b4-00c04fd430c8 1892-configuration=\"3 bytes\"",
            "record of=log row=0 symbol=1892-configuration text=\"\\x00a\\n\""));
}

TEST(LogPrinterTest, StatusHasARowForEachRow) {
    const CStatusLog log(MessageType::PresenceStatus);
    EXPECT_THAT(Told(log), IsEmpty());
    log.GetSymbols()->CreateRow()->AddInt32(2143, 1);
    log.GetSymbols()->CreateRow()->AddInt32(2143, 0);
    EXPECT_THAT(Told(log), ElementsAre("symbols of=log row=0 2143-presence=1",
                                       "symbols of=log row=1 2143-presence=0"));
}

TEST(LogPrinterTest, MultiProductStatusNamesItsProductFirst) {
    const auto product = boost::make_shared<CSymbolContainer>();
    product->AddResourceId(4429, 0x07100000000007AA);
    const CMultiProductStatusLog log(MessageType::MultiProductStatus, product);
    log.GetSymbols()->CreateRow()->AddInt32(3554, 6);
    EXPECT_THAT(Told(log), ElementsAre("symbols of=log row=product 4429-product=0x07100000000007aa",
                                       "symbols of=log row=0 3554-presence=6"));
}

TEST(LogPrinterTest, SymbolWithoutANameIsItsNumber) {
    const CEventLog log(MessageType::TaskEvent);
    for (const int symbol : {2146, 2147, -1, 0, 236, 2913000}) {
        log.GetSymbols()->AddInt32(symbol, 1);
    }
    EXPECT_THAT(Told(log), ElementsAre("symbols of=log row=0 2146=1 2147=1 -1=1 0=1 236=1 "
                                       "2913000=1"));
}

}  // namespace
}  // namespace Kyr::Test
