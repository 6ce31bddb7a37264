#include <typeinfo>

#include "logs/StatusLog.h"
#include "tests/logs/StatusLogFixture.h"
#include "tests/support/host/TestMessage.h"

namespace Kyr::Common::Message::Logs {
namespace {

using Common::Logs::CLogDescriptorMap;
using Common::Logs::CLogDescriptorMapOverride;
using Common::Logs::kInteger;
using Common::Logs::kNoMessageType;
using Common::Logs::TAG_MANDATORY;
using Kernel::MessageType;
using namespace Test;
using namespace Test::StatusLogTypes;

class StatusLogTest : public Test::StatusLogFixture {
  protected:
    Row AddValidRow() {
        const Row row = log_.GetSymbols()->CreateRow();
        row->AddInt64(1, 1);
        return row;
    }

    boost::shared_ptr<CLyingRow> AddLyingRow() {
        const auto row = boost::make_shared<CLyingRow>();
        row->AddInt64(1, 1);
        log_.GetSymbols()->AddRow(row);
        return row;
    }

    std::string Fault() const {
        EXPECT_FALSE(log_.IsValid());
        return Thrown([this] { log_.Validate(); });
    }

    CStatusLog log_{kStatus};
};

TEST_F(StatusLogTest, IsNamedAfterTheDeltaLogType) {
    EXPECT_EQ(log_.GetMessageType(), kStatus);
    EXPECT_EQ(log_.GetName(), "StatusLog_PROTECTION_STATUS");
}

TEST_F(StatusLogTest, EventTypeIsRefused) {
    EXPECT_EQ(Thrown([] { CStatusLog log(kEvent); }),
              "CStatusLog: Message type 20001 is not status log");
}

TEST_F(StatusLogTest, TypeThatIsNoLogIsRefused) {
    EXPECT_EQ(Thrown([] { CStatusLog log(MessageType::ApplyPolicy); }),
              "CStatusLog: Message type 194 is not status log");
}

TEST_F(StatusLogTest, NumberThatMeansNoTypeIsRefused) {
    EXPECT_EQ(Thrown([] { CStatusLog log(kNoMessageType); }),
              "CStatusLog: Message type 4294967295 is not status log");
}

TEST_F(StatusLogTest, MultiProductTypeIsRefused) {
    EXPECT_EQ(Thrown([] { CStatusLog log(kMultiProduct); }),
              "CStatusLog: Message type 20004 is not status log, but a multi product status log");
}

TEST_F(StatusLogTest, NewLogIsWritableAndHasNoRows) {
    EXPECT_FALSE(log_.IsReadOnly());
    EXPECT_EQ(log_.GetSymbols()->GetRowCount(), 0u);
}

TEST_F(StatusLogTest, CreatedRowsHaveTheLogsClock) {
    const CStatusLog log(kStatus, ClockOf1970());
    const Row row = log.GetSymbols()->CreateRow();
    row->AddCurrentTime(15);
    EXPECT_EQ(row->GetUtcTime(15).year(), 1970);
}

TEST_F(StatusLogTest, EqualityIsThatOfTheRows) {
    AddValidRow();
    CStatusLog other(kStatus);
    EXPECT_FALSE(log_.Equals(other));
    other.GetSymbols()->CreateRow()->AddInt64(1, 1);
    EXPECT_TRUE(log_.Equals(other));
}

TEST_F(StatusLogTest, OtherTypeIsNotEqual) {
    EXPECT_FALSE(log_.Equals(CStatusLog(kOtherStatus)));
}

TEST_F(StatusLogTest, SameTypeOfAnotherClassThrows) {
    EXPECT_THROW(log_.Equals(CTestMessage(kStatus, "impostor")), std::bad_cast);
}

TEST_F(StatusLogTest, ReadOnlyLogLocksItsRows) {
    ExpectReadOnlyLocks(log_, AddValidRow());
}

TEST_F(StatusLogTest, ReadOnlyLogStillTakesRows) {
    log_.SetReadOnly();
    EXPECT_NO_THROW(AddValidRow());
    EXPECT_EQ(log_.GetSymbols()->GetRowCount(), 1u);
}

// Validation

TEST_F(StatusLogTest, LogWithoutRowsIsValid) {
    EXPECT_NO_THROW(log_.Validate());
    EXPECT_TRUE(log_.IsValid());
}

TEST_F(StatusLogTest, EveryDataTypeIsTakenInItsField) {
    AddValidRow()
        ->AddBool(10, true)
        .AddInt64(11, 1)
        .AddDouble(12, 1)
        .AddResourceId(13, 1)
        .AddString(14, "")
        .AddCurrentTime(15)
        .AddUuidString(16, "01234567-89ab-cdef-0011-223344556677")
        .AddBlob(17, "");
    EXPECT_NO_THROW(log_.Validate());
}

TEST_F(StatusLogTest, EveryDataTypeRefusesAnotherField) {
    for (std::int32_t id = 10; id <= 17; ++id) {
        CStatusLog log(kStatus);
        const Row row = log.GetSymbols()->CreateRow();
        row->AddInt64(1, 1);
        id == 11 ? row->AddString(id, "1") : row->AddInt64(id, 1);
        EXPECT_EQ(Thrown([&] { log.Validate(); }),
                  "CStatusLog [PROTECTION_STATUS][Row: 0]: Unexpected symbol '" +
                      std::to_string(id) + "' datatype");
    }
}

TEST_F(StatusLogTest, DataTypeThatDoesNotExistIsRefused) {
    AddValidRow()->AddInt64(20, 1);
    EXPECT_EQ(Fault(), "CStatusLog [PROTECTION_STATUS][Row: 0]: Unexpected symbol '20' datatype");
}

TEST_F(StatusLogTest, TwoElementsInTheFieldAreRefused) {
    const auto row = AddLyingRow();
    row->AddInt64(11, 1);
    row->lyingId = 11;
    row->lie.add_val_int(1);
    row->lie.add_val_int(2);
    EXPECT_EQ(Fault(), "CStatusLog [PROTECTION_STATUS][Row: 0]: Unexpected symbol '11' datatype");
}

TEST_F(StatusLogTest, UuidTextOfAnotherLengthIsRefusedWithoutARow) {
    AddValidRow();
    const auto row = AddLyingRow();
    row->AddUuidString(16, "01234567-89ab-cdef-0011-223344556677");
    row->lyingId = 16;
    row->lie.add_val_uuid()->set_uuid("0123456789abcdef0011223344556677");
    EXPECT_EQ(Fault(),
              "CStatusLog [PROTECTION_STATUS]: Symbol value '0123456789abcdef0011223344556677' has "
              "unexpected length (expected: 36)");
}

TEST_F(StatusLogTest, RepeatedSymbolIsRefused) {
    AddValidRow();
    AddLyingRow()->repeated = 1;
    EXPECT_EQ(Fault(),
              "CStatusLog [PROTECTION_STATUS][Row: 1]: Symbol '1' cannot be repeated (multiple "
              "value error)");
}

TEST_F(StatusLogTest, MissingMandatorySymbolIsRefusedWithItsRow) {
    AddValidRow();
    log_.GetSymbols()->CreateRow()->AddBool(10, true);
    EXPECT_EQ(Fault(),
              "CStatusLog [PROTECTION_STATUS][Row: 1]: Container is missing symbol '1' (symbol is "
              "mandatory)");
}

TEST_F(StatusLogTest, SuperfluousSymbolIsRefused) {
    AddValidRow()->AddBool(99, true);
    EXPECT_EQ(Fault(),
              "CStatusLog [PROTECTION_STATUS][Row: 0]: Unexpected symbol '99' (superfluous symbol "
              "value)");
}

TEST_F(StatusLogTest, SmallestSuperfluousSymbolIsNamed) {
    AddValidRow()->AddBool(99, true).AddBool(-5, true).AddBool(98, true);
    EXPECT_EQ(Fault(),
              "CStatusLog [PROTECTION_STATUS][Row: 0]: Unexpected symbol '-5' (superfluous symbol "
              "value)");
}

TEST_F(StatusLogTest, ChecksOfARowHaveTheirOrder) {
    const auto row = boost::make_shared<CLyingRow>();
    log_.GetSymbols()->AddRow(row);
    row->AddBool(99, true);
    EXPECT_NE(Fault().find("missing symbol '1'"), std::string::npos);  // before superfluous
    row->AddBool(11, true);
    EXPECT_NE(Fault().find("'11' datatype"), std::string::npos);  // before missing
    row->repeated = 1;
    EXPECT_NE(Fault().find("'99' cannot be repeated"), std::string::npos);  // before data types
}

TEST_F(StatusLogTest, DataTypesAreCheckedInTheOrderOfTheDescriptors) {
    AddValidRow()->AddBool(14, true).AddBool(12, true);
    EXPECT_NE(Fault().find("'12' datatype"), std::string::npos);
}

TEST_F(StatusLogTest, UuidLengthIsCheckedWithItsDataType) {
    const auto row = AddLyingRow();
    row->AddBool(17, true).AddUuidString(16, "01234567-89ab-cdef-0011-223344556677");
    row->lyingId = 16;
    row->lie.add_val_uuid()->set_uuid("short");
    EXPECT_NE(Fault().find("Symbol value 'short'"), std::string::npos);
}

TEST_F(StatusLogTest, MandatorySymbolsAreCheckedInTheOrderOfTheDescriptors) {
    const CLogDescriptorMap map{
        {{{kNoMessageType, kNoMessageType, kStatus},
          DataDefinition::Logs::UNKNOWN,
          DataDefinition::Logs::PROTECTION_STATUS}},
        {{DataDefinition::Logs::PROTECTION_STATUS,
          false,
          {{2, kInteger, {TAG_MANDATORY}}, {1, kInteger, {TAG_MANDATORY}}}}}};
    const CLogDescriptorMapOverride override_(map);
    log_.GetSymbols()->CreateRow();
    EXPECT_NE(Fault().find("missing symbol '2'"), std::string::npos);
}

TEST_F(StatusLogTest, FirstRowIsCheckedWholeBeforeTheSecond) {
    AddValidRow()->AddBool(99, true);
    log_.GetSymbols()->CreateRow();
    EXPECT_NE(Fault().find("[Row: 0]: Unexpected symbol '99'"), std::string::npos);
}

}  // namespace
}  // namespace Kyr::Common::Message::Logs
