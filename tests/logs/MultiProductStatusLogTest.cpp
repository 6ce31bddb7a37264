#include <typeinfo>

#include "logs/MultiProductStatusLog.h"
#include "tests/logs/StatusLogFixture.h"
#include "tests/support/host/TestMessage.h"

namespace Kyr::Common::Message::Logs {
namespace {

using Kernel::MessageType;
using namespace Test;
using namespace Test::StatusLogTypes;

class MultiProductStatusLogTest : public Test::StatusLogFixture {
  protected:
    static Row Product(std::uint64_t key = 5) {
        const Row product = NewRow();
        product->AddResourceId(31, key).AddString(32, "name");
        return product;
    }

    Row AddRow(std::uint64_t key = 5, const std::string& name = "name") {
        const Row row = log_.GetSymbols()->CreateRow();
        row->AddInt64(1, 1).AddResourceId(31, key).AddString(32, name);
        return row;
    }

    std::string Fault() const {
        EXPECT_FALSE(log_.IsValid());
        return Thrown([this] { log_.Validate(); });
    }

    const Row product_ = Product();
    CMultiProductStatusLog log_{kMultiProduct, product_};
};

TEST_F(MultiProductStatusLogTest, IsNamedAfterTheDeltaLogType) {
    EXPECT_EQ(log_.GetMessageType(), kMultiProduct);
    EXPECT_EQ(log_.GetName(), "StatusLog_PRODUCT_PRESENCE");
}

TEST_F(MultiProductStatusLogTest, KeepsTheProductIdentification) {
    EXPECT_EQ(log_.GetProductIdentification(), product_);
    EXPECT_EQ(log_.GetSymbols()->GetRowCount(), 0u);
}

TEST_F(MultiProductStatusLogTest, EventTypeIsRefused) {
    EXPECT_EQ(Thrown([] { CMultiProductStatusLog log(kEvent, Product()); }),
              "CMultiProductStatusLog: Message type 20001 is not status log");
}

TEST_F(MultiProductStatusLogTest, OrdinaryStatusTypeIsRefused) {
    EXPECT_EQ(Thrown([] { CMultiProductStatusLog log(kStatus, Product()); }),
              "CMultiProductStatusLog: Message type 20002 is a multi product status log but a "
              "CStatusLog");
}

TEST_F(MultiProductStatusLogTest, IdentificationWithoutAProductKeyIsRefused) {
    const Row product = NewRow();
    product->AddResourceId(31, 5);
    EXPECT_EQ(Thrown([&] { CMultiProductStatusLog log(kMultiProduct, product); }),
              "CMultiProductStatusLog: Product identifier must have set fields that have "
              "TAG_PRODUCT_KEY set !");
}

TEST_F(MultiProductStatusLogTest, CreatedRowsHaveTheLogsClock) {
    const CMultiProductStatusLog log(kMultiProduct, Product(), ClockOf1970());
    const Row row = log.GetSymbols()->CreateRow();
    row->AddCurrentTime(15);
    EXPECT_EQ(row->GetUtcTime(15).year(), 1970);
}

TEST_F(MultiProductStatusLogTest, EqualityIsThatOfTheRowsOnly) {
    AddRow();
    CMultiProductStatusLog other(kMultiProduct, Product(6));
    EXPECT_FALSE(log_.Equals(other));
    other.GetSymbols()->AddRow(log_.GetSymbols()->GetRow(0)->Clone());
    EXPECT_TRUE(log_.Equals(other));
}

TEST_F(MultiProductStatusLogTest, OtherTypeIsNotEqual) {
    EXPECT_FALSE(log_.Equals(CMultiProductStatusLog(kOtherMultiProduct, Product())));
}

TEST_F(MultiProductStatusLogTest, SameTypeOfAnotherClassThrows) {
    EXPECT_THROW(log_.Equals(CTestMessage(kMultiProduct, "impostor")), std::bad_cast);
}

TEST_F(MultiProductStatusLogTest, ReadOnlyLogLocksItsRows) {
    ExpectReadOnlyLocks(log_, AddRow());
}

TEST_F(MultiProductStatusLogTest, ReadOnlyLogLeavesTheIdentificationWritable) {
    log_.SetReadOnly();
    EXPECT_NO_THROW(product_->AddInt64(11, 1));
}

// Validation

TEST_F(MultiProductStatusLogTest, LogWithoutRowsIsValid) {
    EXPECT_TRUE(log_.IsValid());
}

TEST_F(MultiProductStatusLogTest, RowsOfTheProductAreValid) {
    AddRow();
    AddRow()->AddBool(10, true);
    EXPECT_NO_THROW(log_.Validate());
}

TEST_F(MultiProductStatusLogTest, FaultsOfOrdinaryLogsCarryThisClassName) {
    AddRow()->AddInt64(10, 1);
    EXPECT_EQ(Fault(),
              "CMultiProductStatusLog [PRODUCT_PRESENCE][Row: 0]: Unexpected symbol '10' datatype");
}

TEST_F(MultiProductStatusLogTest, UuidLengthFaultCarriesThisClassName) {
    const auto row = boost::make_shared<CLyingRow>();
    row->AddUuidString(16, "01234567-89ab-cdef-0011-223344556677");
    row->lyingId = 16;
    row->lie.add_val_uuid()->set_uuid("short");
    log_.GetSymbols()->AddRow(row);
    EXPECT_EQ(Fault(),
              "CMultiProductStatusLog [PRODUCT_PRESENCE]: Symbol value 'short' has unexpected "
              "length (expected: 36)");
}

TEST_F(MultiProductStatusLogTest, MissingProductKeyIsRefused) {
    AddRow()->RemoveSymbol(32);
    EXPECT_EQ(Fault(),
              "CMultiProductStatusLog [PRODUCT_PRESENCE][Row: 0]: Container is missing symbol '32' "
              "(symbol is mandatory)");
}

TEST_F(MultiProductStatusLogTest, SmallestProductKeyIsCheckedFirst) {
    const Row row = AddRow();
    row->RemoveSymbol(31);
    row->RemoveSymbol(32);
    EXPECT_EQ(Fault(),
              "CMultiProductStatusLog [PRODUCT_PRESENCE][Row: 0]: Container is missing symbol '31' "
              "(symbol is mandatory)");
}

TEST_F(MultiProductStatusLogTest, MissingMandatorySymbolComesBeforeTheProductKeys) {
    const Row row = AddRow();
    row->RemoveSymbol(1);
    row->RemoveSymbol(31);
    EXPECT_NE(Fault().find("missing symbol '1'"), std::string::npos);
}

TEST_F(MultiProductStatusLogTest, ProductKeysComeBeforeSuperfluousSymbols) {
    const Row row = AddRow();
    row->RemoveSymbol(31);
    row->AddBool(99, true);
    EXPECT_NE(Fault().find("missing symbol '31'"), std::string::npos);
}

TEST_F(MultiProductStatusLogTest, SuperfluousSymbolIsRefused) {
    AddRow()->AddBool(99, true);
    EXPECT_EQ(Fault(),
              "CMultiProductStatusLog [PRODUCT_PRESENCE][Row: 0]: Unexpected symbol '99' "
              "(superfluous symbol value)");
}

TEST_F(MultiProductStatusLogTest, OtherProductIsRefused) {
    AddRow(6);
    EXPECT_EQ(Fault(),
              "CMultiProductStatusLog [PRODUCT_PRESENCE][Row: 0]: Container symbol does not match "
              "the product identifications symbol '31' (symbol is mandatory)");
}

// Each row looks at the keys of all rows: the second row's product is reported before the first
// row's superfluous symbol.
TEST_F(MultiProductStatusLogTest, OtherProductInALaterRowIsFoundWithTheFirst) {
    AddRow()->AddBool(99, true);
    AddRow(5, "other name");
    EXPECT_EQ(Fault(),
              "CMultiProductStatusLog [PRODUCT_PRESENCE][Row: 1]: Container symbol does not match "
              "the product identifications symbol '32' (symbol is mandatory)");
}

TEST_F(MultiProductStatusLogTest, SmallestProductKeyIsComparedInAllRowsFirst) {
    AddRow(5, "other name");
    AddRow(6);
    EXPECT_EQ(Fault(),
              "CMultiProductStatusLog [PRODUCT_PRESENCE][Row: 1]: Container symbol does not match "
              "the product identifications symbol '31' (symbol is mandatory)");
}

TEST_F(MultiProductStatusLogTest, MissingProductKeyInALaterRowIsTheRowsOwnFault) {
    AddRow();
    AddRow()->RemoveSymbol(31);
    EXPECT_EQ(Fault(), "Cannot find symbol 31 in symbol container");
}

TEST_F(MultiProductStatusLogTest, KindOfTheProductKeyMatters) {
    product_->SetValue(31, AddRow()->GetValue(1));  // an integer instead of a resource id
    EXPECT_NE(Fault().find("does not match"), std::string::npos);
}

}  // namespace
}  // namespace Kyr::Common::Message::Logs
