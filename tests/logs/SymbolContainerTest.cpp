#include <boost/uuid/uuid_io.hpp>

#include "logs/SymbolTime.h"
#include "tests/logs/ForeignSymbolContainer.h"
#include "tests/logs/SymbolFixture.h"
#include "tests/support/AllocationWatch.h"
#include "tests/support/GroupingLocale.h"

namespace Kyr::Common::Logs {
namespace {

using namespace Test;

using SymbolContainerTest = Test::SymbolFixture;

boost::uuids::uuid SomeUuid() {
    boost::uuids::uuid uuid;
    std::copy(std::begin(kUuidBytes), std::end(kUuidBytes), uuid.begin());
    return uuid;
}

// Adding and getting

TEST_F(SymbolContainerTest, NewRowIsEmpty) {
    EXPECT_EQ(row_.GetCount(), 0u);
    EXPECT_FALSE(row_.HasSymbol(7));
}

TEST_F(SymbolContainerTest, EveryKindComesBackThroughItsGetter) {
    FillWithAllKinds(row_);
    EXPECT_EQ(row_.GetBlob(101), std::string("\0\xFF", 2));
    EXPECT_EQ(row_.GetInt64(102), -2);
    EXPECT_EQ(row_.GetDouble(103), 1.5);
    EXPECT_EQ(row_.GetString(104), "text");
    EXPECT_EQ(row_.GetResourceId(105), 0x07100000000005E2u);
    EXPECT_EQ(ToTicks(row_.GetTime(106)), 210866803200000000 + 1700000000 * std::int64_t{1000000});
    EXPECT_EQ(row_.GetUuid(107).uuid(), kUuidText);
    EXPECT_TRUE(row_.GetBool(108));
}

TEST_F(SymbolContainerTest, SymbolsKeepTheirOrder) {
    row_.AddInt64(9, 1).AddBool(-3, false).AddInt64(5, 2);
    EXPECT_EQ(IdsOf(row_), (std::vector<std::int32_t>{9, -3, 5}));
}

TEST_F(SymbolContainerTest, AddReturnsTheRowItself) {
    EXPECT_EQ(&row_.AddInt64(1, 1), &row_);
    EXPECT_EQ(&row_.AddValue(2, MultiDataType()), &row_);
    EXPECT_EQ(&row_.SetInt64(1, 2), &row_);
    EXPECT_EQ(&row_.SetValue(1, IntegerValue(3)), &row_);
}

TEST_F(SymbolContainerTest, AddingTwiceIsRefused) {
    row_.AddInt64(7, 1);
    EXPECT_EQ(Thrown([&] { row_.AddInt64(7, 2); }), "Symbol 7 is already in container");
    EXPECT_EQ(Thrown([&] { row_.AddBool(7, true); }), "Symbol 7 is already in container");
    EXPECT_EQ(row_.GetInt64(7), 1);
    EXPECT_EQ(row_.GetCount(), 1u);
}

TEST_F(SymbolContainerTest, SymbolThatTheMemoryDoesNotLastForIsNotAddedByHalf) {
    KYR_SKIP_UNLESS_ALLOCATIONS_ARE_WATCHED();
    {
        // The value has its place, the identifier has none.
        const Kyr::Test::CAllocationFailure failure(1);
        EXPECT_THROW(row_.AddInt64(7, 1), std::bad_alloc);
    }
    EXPECT_EQ(row_.GetCount(), 0u);
    row_.AddInt64(8, 2);
    EXPECT_EQ(row_.GetInt64(8), 2);
}

TEST_F(SymbolContainerTest, NumbersInTextsAreNotGrouped) {
    const Kyr::Test::CGroupingLocale grouping;
    EXPECT_EQ(ThrownText([&] { row_.GetBool(1234567); }),
              "Cannot find symbol 1234567 in symbol container");
    EXPECT_EQ(ThrownText([&] { row_.GetBool(-1234567); }),
              "Cannot find symbol -1234567 in symbol container");
}

TEST_F(SymbolContainerTest, UnknownSymbolCannotBeGot) {
    EXPECT_EQ(Thrown([&] { row_.GetInt64(7); }), "Cannot find symbol 7 in symbol container");
    EXPECT_EQ(Thrown([&] { row_.GetValue(-7); }), "Cannot find symbol -7 in symbol container");
}

TEST_F(SymbolContainerTest, EveryGetterRefusesAnotherKind) {
    row_.AddInt64(7, 1).AddBool(8, true);
    const std::string seven = "The symbol 7 exists but is not of requested type";
    EXPECT_EQ(Thrown([&] { row_.GetBool(7); }), seven);
    EXPECT_EQ(Thrown([&] { row_.GetBlob(7); }), seven);
    EXPECT_EQ(Thrown([&] { row_.GetDouble(7); }), seven);
    EXPECT_EQ(Thrown([&] { row_.GetString(7); }), seven);
    EXPECT_EQ(Thrown([&] { row_.GetResourceId(7); }), seven);
    EXPECT_EQ(Thrown([&] { row_.GetUtcTime(7); }), seven);
    EXPECT_EQ(Thrown([&] { row_.GetTime(7); }), seven);
    EXPECT_EQ(Thrown([&] { row_.GetUuid(7); }), seven);
    const std::string eight = "The symbol 8 exists but is not of requested type";
    EXPECT_EQ(Thrown([&] { row_.GetInt64(8); }), eight);
    EXPECT_EQ(Thrown([&] { row_.GetInt32(8); }), eight);
}

TEST_F(SymbolContainerTest, Int32IsStoredSignExtended) {
    row_.AddInt32(7, -1);
    EXPECT_EQ(row_.GetInt64(7), -1);
}

TEST_F(SymbolContainerTest, GetInt32TakesTheLow32Bits) {
    row_.AddInt64(7, 0x1234567880000001);
    EXPECT_EQ(row_.GetInt32(7), -2147483647);
}

TEST_F(SymbolContainerTest, ResourceIdOfAllOnesComesBack) {
    row_.AddResourceId(248, 0xFFFFFFFFFFFFFFFF);
    EXPECT_EQ(row_.GetResourceId(248), 0xFFFFFFFFFFFFFFFFu);
    EXPECT_EQ(row_.GetValue(248).val_res_id(0), -1);
}

TEST_F(SymbolContainerTest, CurrentTimeIsTheClocks) {
    clock_->SetStartTime(951782400);  // 2000-02-29T00:00:00
    row_.AddCurrentTime(7);
    const auto time = row_.GetUtcTime(7);
    EXPECT_EQ(time.ShortDebugString(), "year: 2000 month: 2 day: 29 hour: 0 minute: 0 second: 0");
}

TEST_F(SymbolContainerTest, CurrentTimeThatIsNoCalendarTimeIsRefused) {
    clock_->SetStartTime(std::numeric_limits<std::int64_t>::max());
    EXPECT_EQ(Thrown([&] { row_.AddCurrentTime(7); }),
              "could not convert calendar time to UTC time");
    EXPECT_EQ(row_.GetCount(), 0u);
}

TEST_F(SymbolContainerTest, DefaultClockIsTheSystems) {
    CSymbolContainer row;
    row.AddCurrentTime(7);
    EXPECT_GE(row.GetUtcTime(7).year(), 2024);
}

TEST_F(SymbolContainerTest, UninitializedTimeIsRefused) {
    auto time = SomeUtcTime();
    time.clear_minute();
    EXPECT_EQ(Thrown([&] { row_.AddUtcTime(7, time); }), "Symbol 7 value is not fully initialized");
    EXPECT_EQ(Thrown([&] { row_.SetUtcTime(7, time); }), "Symbol 7 value is not fully initialized");
    EXPECT_EQ(row_.GetCount(), 0u);
}

TEST_F(SymbolContainerTest, UuidIsTakenInThreeForms) {
    row_.AddUuid(1, SomeUuid())
        .AddUuidString(2, "{01234567-89AB-CDEF-0011-223344556677}")
        .AddUuidMessage(3, UuidMessage(kUuidText));
    EXPECT_EQ(row_.GetUuid(1).uuid(), kUuidText);
    EXPECT_EQ(row_.GetUuid(2).uuid(), kUuidText);
    EXPECT_EQ(row_.GetUuid(3).uuid(), kUuidText);
}

TEST_F(SymbolContainerTest, BadUuidIsRefused) {
    EXPECT_EQ(Thrown([&] { row_.AddUuidString(7, "no uuid"); }), "invalid uuid string");
    EXPECT_EQ(Thrown([&] { row_.SetUuidString(7, "no uuid"); }), "invalid uuid string");
    EXPECT_EQ(Thrown([&] { row_.AddUuidMessage(7, UuidMessage("no uuid")); }),
              "invalid uuid string");
    EXPECT_EQ(Thrown([&] { row_.AddUuidMessage(7, ISymbolContainer::Uuid()); }),
              "Symbol 7 value is not fully initialized");
    EXPECT_EQ(row_.GetCount(), 0u);
}

// Values of any kind

TEST_F(SymbolContainerTest, EveryKindComesBackInItsField) {
    FillWithAllKinds(row_);
    EXPECT_EQ(row_.GetValue(101).ShortDebugString(), R"(val_blob: "\000\377")");
    EXPECT_EQ(row_.GetValue(102).ShortDebugString(), "val_int: -2");
    EXPECT_EQ(row_.GetValue(103).ShortDebugString(), "val_double: 1.5");
    EXPECT_EQ(row_.GetValue(104).ShortDebugString(), R"(val_string: "text")");
    EXPECT_EQ(row_.GetValue(105).ShortDebugString(), "val_res_id: 508906757892867554");
    EXPECT_EQ(row_.GetValue(106).ShortDebugString(),
              "val_time_date { year: 2023 month: 11 day: 14 hour: 22 minute: 13 second: 20 }");
    EXPECT_EQ(row_.GetValue(107).ShortDebugString(),
              R"(val_uuid { uuid: "01234567-89ab-cdef-0011-223344556677" })");
    EXPECT_EQ(row_.GetValue(108).ShortDebugString(), "val_bool: true");
}

TEST_F(SymbolContainerTest, ValuesOfEveryKindCanBeAdded) {
    FillWithAllKinds(row_);
    CSymbolContainer copy;
    for (std::size_t index = 0; index < row_.GetCount(); ++index) {
        copy.AddValue(row_.GetSymbolAt(index), row_.GetValueAt(index));
    }
    EXPECT_EQ(copy.GetCount(), 8u);
    EXPECT_TRUE(copy.Equals(row_));
}

TEST_F(SymbolContainerTest, EmptyValueAddsNothing) {
    row_.AddValue(7, MultiDataType());
    EXPECT_EQ(row_.GetCount(), 0u);
}

TEST_F(SymbolContainerTest, FirstKindInTheHostsOrderWins) {
    MultiDataType value;
    value.add_val_blob("blob");
    *value.add_val_uuid() = UuidMessage(kUuidText);
    row_.AddValue(1, value);
    *value.add_val_time_date() = SomeUtcTime();
    row_.AddValue(2, value);
    value.add_val_string("text");
    row_.AddValue(3, value);
    value.add_val_res_id(4);
    row_.AddValue(4, value);
    value.add_val_double(5);
    row_.AddValue(5, value);
    value.add_val_int(6);
    row_.AddValue(6, value);
    value.add_val_bool(true);
    row_.AddValue(7, value);
    EXPECT_EQ(row_.GetUuid(1).uuid(), kUuidText);
    EXPECT_EQ(row_.GetUtcTime(2).year(), 2023);
    EXPECT_EQ(row_.GetString(3), "text");
    EXPECT_EQ(row_.GetResourceId(4), 4u);
    EXPECT_EQ(row_.GetDouble(5), 5);
    EXPECT_EQ(row_.GetInt64(6), 6);
    EXPECT_TRUE(row_.GetBool(7));
}

TEST_F(SymbolContainerTest, FirstElementOfAFieldIsTaken) {
    MultiDataType value = IntegerValue(1);
    value.add_val_int(2);
    row_.AddValue(7, value);
    EXPECT_EQ(row_.GetInt64(7), 1);
}

TEST_F(SymbolContainerTest, UninitializedPartsOfAValueAreRefused) {
    MultiDataType time;
    time.add_val_time_date()->set_year(2023);
    EXPECT_EQ(Thrown([&] { row_.AddValue(7, time); }), "Symbol 7 value is not fully initialized");
    MultiDataType uuid;
    uuid.add_val_uuid();
    EXPECT_EQ(Thrown([&] { row_.AddValue(7, uuid); }), "Symbol 7 value is not fully initialized");
}

TEST_F(SymbolContainerTest, IndexBeyondTheRowIsRefused) {
    row_.AddInt64(7, 1);
    const auto value = [&] { row_.GetValueAt(1); };
    const auto symbol = [&] { row_.GetSymbolAt(1); };
    EXPECT_EQ(ThrownText<std::out_of_range>(value), "invalid vector subscript");
    EXPECT_EQ(ThrownText<std::out_of_range>(symbol), "invalid vector subscript");
}

// Finding

TEST_F(SymbolContainerTest, FindingAMissingSymbolGivesNothing) {
    EXPECT_FALSE(row_.FindValue(7));
    EXPECT_FALSE(row_.FindBool(7));
    EXPECT_FALSE(row_.FindBlob(7));
    EXPECT_FALSE(row_.FindInt64(7));
    EXPECT_FALSE(row_.FindDouble(7));
    EXPECT_FALSE(row_.FindString(7));
    EXPECT_FALSE(row_.FindResourceId(7));
    EXPECT_FALSE(row_.FindInt32(7));
    EXPECT_FALSE(row_.FindUtcTime(7));
    EXPECT_FALSE(row_.FindTime(7));
    EXPECT_FALSE(row_.FindUuid(7));
}

TEST_F(SymbolContainerTest, FindingASymbolGivesWhatItsGetterGives) {
    FillWithAllKinds(row_);
    EXPECT_EQ(row_.FindBlob(101).value(), std::string("\0\xFF", 2));
    EXPECT_EQ(row_.FindInt64(102).value(), -2);
    EXPECT_EQ(row_.FindInt32(102).value(), -2);
    EXPECT_EQ(row_.FindDouble(103).value(), 1.5);
    EXPECT_EQ(row_.FindString(104).value(), "text");
    EXPECT_EQ(row_.FindResourceId(105).value(), 0x07100000000005E2u);
    EXPECT_EQ(row_.FindUtcTime(106).value().day(), 14);
    EXPECT_EQ(row_.FindTime(106).value(), row_.GetTime(106));
    EXPECT_EQ(row_.FindUuid(107).value().uuid(), kUuidText);
    EXPECT_TRUE(row_.FindBool(108).value());
    EXPECT_EQ(row_.FindValue(102).value().val_int(0), -2);
}

TEST_F(SymbolContainerTest, FindingASymbolOfAnotherKindThrows) {
    row_.AddInt64(7, 1);
    EXPECT_EQ(Thrown([&] { row_.FindString(7); }),
              "The symbol 7 exists but is not of requested type");
}

// Setting

TEST_F(SymbolContainerTest, SettingReplacesInPlace) {
    FillWithAllKinds(row_);
    const auto ids = IdsOf(row_);
    row_.SetBlob(101, "b")
        .SetInt64(102, 3)
        .SetString(104, "new")
        .SetResourceId(105, 0xFFFFFFFFFFFFFFFE)
        .SetUuidString(107, "00000000-0000-0000-0000-000000000001")
        .SetBool(108, false);
    EXPECT_EQ(IdsOf(row_), ids);
    EXPECT_EQ(row_.GetBlob(101), "b");
    EXPECT_EQ(row_.GetInt64(102), 3);
    EXPECT_EQ(row_.GetString(104), "new");
    EXPECT_EQ(row_.GetResourceId(105), 0xFFFFFFFFFFFFFFFEu);
    EXPECT_EQ(row_.GetUuid(107).uuid(), "00000000-0000-0000-0000-000000000001");
    EXPECT_FALSE(row_.GetBool(108));
}

TEST_F(SymbolContainerTest, SettingATimeReplacesInPlace) {
    row_.AddUtcTime(1, SomeUtcTime()).AddBool(2, true);
    auto time = SomeUtcTime();
    time.set_year(1999);
    row_.SetUtcTime(1, time);
    EXPECT_EQ(row_.GetUtcTime(1).year(), 1999);
    EXPECT_EQ(row_.GetSymbolAt(0), 1);
}

TEST_F(SymbolContainerTest, SettingAMissingSymbolAddsIt) {
    row_.SetBool(1, true).SetInt64(2, 2).SetString(3, "3").SetUuidString(4, kUuidText);
    row_.SetResourceId(5, 5).SetBlob(6, "6").SetUtcTime(7, SomeUtcTime());
    EXPECT_EQ(IdsOf(row_), (std::vector<std::int32_t>{1, 2, 3, 4, 5, 6, 7}));
}

TEST_F(SymbolContainerTest, SettingAnotherKindIsRefused) {
    row_.AddInt64(7, 1);
    const std::string text =
        "Cannot set the symbol 7 because it exists but is not of same type as before";
    EXPECT_EQ(Thrown([&] { row_.SetString(7, "text"); }), text);
    EXPECT_EQ(Thrown([&] { row_.SetBool(7, true); }), text);
    EXPECT_EQ(Thrown([&] { row_.SetResourceId(7, 1); }), text);
    EXPECT_EQ(row_.GetInt64(7), 1);
}

TEST_F(SymbolContainerTest, SetValueMovesToTheEndAndMayChangeTheKind) {
    row_.AddInt64(7, 1).AddInt64(8, 2);
    row_.SetValue(7, TextValue("text"));
    EXPECT_EQ(IdsOf(row_), (std::vector<std::int32_t>{8, 7}));
    EXPECT_EQ(row_.GetString(7), "text");
}

TEST_F(SymbolContainerTest, SetValueAddsAMissingSymbol) {
    row_.SetValue(7, IntegerValue(1));
    EXPECT_EQ(row_.GetInt64(7), 1);
}

TEST_F(SymbolContainerTest, SetValueWithAnEmptyValueDeletes) {
    row_.AddInt64(7, 1);
    row_.SetValue(7, MultiDataType());
    EXPECT_FALSE(row_.HasSymbol(7));
    EXPECT_EQ(row_.GetCount(), 0u);
}

TEST_F(SymbolContainerTest, FailedSetValueKeepsTheOldSymbol) {
    row_.AddInt64(7, 1).AddInt64(8, 2);
    MultiDataType bad;
    *bad.add_val_uuid() = UuidMessage("no uuid");
    EXPECT_EQ(Thrown([&] { row_.SetValue(7, bad); }), "invalid uuid string");
    EXPECT_EQ(IdsOf(row_), (std::vector<std::int32_t>{7, 8}));
    EXPECT_EQ(row_.GetInt64(7), 1);
}

// Length limits (the cutting itself is tested in SymbolTextTest.cpp)

TEST_F(SymbolContainerTest, LongTextIsShortenedWhereverItIsAdded) {
    const std::string text = "abcdefghijklmnopqrst";
    row_.AddString(10, text);
    EXPECT_EQ(row_.GetString(10), "abcdefg...");
    row_.SetValue(10, TextValue(text));
    EXPECT_EQ(row_.GetString(10), "abcdefg...");
    row_.RemoveSymbol(10);
    row_.AddValue(10, TextValue(text));
    EXPECT_EQ(row_.GetString(10), "abcdefg...");
}

TEST_F(SymbolContainerTest, SetStringNeverShortens) {
    const std::string text = "abcdefghijklmnopqrst";
    row_.SetString(10, text);
    EXPECT_EQ(row_.GetString(10), text);
    row_.SetString(10, text + "u");
    EXPECT_EQ(row_.GetString(10), text + "u");
}

TEST_F(SymbolContainerTest, TextOfAnUnlimitedOrUnknownSymbolIsKept) {
    const std::string text(1000, 'x');
    row_.AddString(50, text).AddString(60, text).AddString(999, text);
    EXPECT_EQ(row_.GetString(50), text);
    EXPECT_EQ(row_.GetString(60), text);
    EXPECT_EQ(row_.GetString(999), text);
}

TEST_F(SymbolContainerTest, TextThatCannotBeShortenedIsNotAdded) {
    EXPECT_EQ(Thrown([&] { row_.AddString(10, "\x80" + std::string(20, 'x')); }),
              "Invalid utf8 leading byte");
    EXPECT_EQ(row_.GetCount(), 0u);
}

// Removing and locking

TEST_F(SymbolContainerTest, RemovingKeepsTheOrderOfTheRest) {
    row_.AddInt64(1, 1).AddInt64(2, 2).AddInt64(3, 3);
    row_.RemoveSymbol(2);
    row_.RemoveSymbol(99);
    EXPECT_EQ(IdsOf(row_), (std::vector<std::int32_t>{1, 3}));
    EXPECT_EQ(row_.GetInt64(3), 3);
}

TEST_F(SymbolContainerTest, LockedRowRefusesEveryAdd) {
    row_.Lock();
    const std::string text = "Cannot add symbol 7: container is locked";
    EXPECT_EQ(Thrown([&] { row_.AddValue(7, IntegerValue(1)); }), text);
    EXPECT_EQ(Thrown([&] { row_.AddBool(7, true); }), text);
    EXPECT_EQ(Thrown([&] { row_.AddBlob(7, ""); }), text);
    EXPECT_EQ(Thrown([&] { row_.AddInt64(7, 1); }), text);
    EXPECT_EQ(Thrown([&] { row_.AddDouble(7, 1); }), text);
    EXPECT_EQ(Thrown([&] { row_.AddString(7, ""); }), text);
    EXPECT_EQ(Thrown([&] { row_.AddResourceId(7, 1); }), text);
    EXPECT_EQ(Thrown([&] { row_.AddInt32(7, 1); }), text);
    EXPECT_EQ(Thrown([&] { row_.AddUtcTime(7, SomeUtcTime()); }), text);
    EXPECT_EQ(Thrown([&] { row_.AddCurrentTime(7); }), text);
    EXPECT_EQ(Thrown([&] { row_.AddUuid(7, SomeUuid()); }), text);
    EXPECT_EQ(Thrown([&] { row_.AddUuidString(7, kUuidText); }), text);
    EXPECT_EQ(Thrown([&] { row_.AddUuidMessage(7, UuidMessage(kUuidText)); }), text);
    EXPECT_EQ(row_.GetCount(), 0u);
}

TEST_F(SymbolContainerTest, LockedRowRefusesEverySet) {
    row_.AddInt64(7, 1);
    row_.Lock();
    const std::string text = "Cannot add symbol 7: container is locked";
    EXPECT_EQ(Thrown([&] { row_.SetValue(7, IntegerValue(2)); }), text);
    EXPECT_EQ(Thrown([&] { row_.SetBool(7, true); }), text);
    EXPECT_EQ(Thrown([&] { row_.SetInt64(7, 2); }), text);
    EXPECT_EQ(Thrown([&] { row_.SetString(7, ""); }), text);
    EXPECT_EQ(Thrown([&] { row_.SetUuidString(7, kUuidText); }), text);
    EXPECT_EQ(Thrown([&] { row_.SetResourceId(7, 2); }), text);
    EXPECT_EQ(Thrown([&] { row_.SetBlob(7, ""); }), text);
    EXPECT_EQ(Thrown([&] { row_.SetUtcTime(7, SomeUtcTime()); }), text);
    EXPECT_EQ(row_.GetInt64(7), 1);
}

TEST_F(SymbolContainerTest, ConversionsComeBeforeTheLock) {
    row_.Lock();
    EXPECT_EQ(Thrown([&] { row_.AddUuidString(7, "no uuid"); }), "invalid uuid string");
    EXPECT_EQ(Thrown([&] { row_.AddUtcTime(7, {}); }), "Symbol 7 value is not fully initialized");
}

TEST_F(SymbolContainerTest, LockComesBeforeTheDuplicate) {
    row_.AddInt64(7, 1);
    row_.Lock();
    EXPECT_EQ(Thrown([&] { row_.AddInt64(7, 1); }), "Cannot add symbol 7: container is locked");
}

TEST_F(SymbolContainerTest, EmptyValueDoesNotMindTheLock) {
    row_.Lock();
    EXPECT_NO_THROW(row_.AddValue(7, MultiDataType()));
}

TEST_F(SymbolContainerTest, LockedRowCanBeReadAndLoseSymbols) {
    row_.AddInt64(7, 1).AddInt64(8, 2);
    row_.Lock();
    row_.RemoveSymbol(7);
    EXPECT_EQ(IdsOf(row_), (std::vector<std::int32_t>{8}));
    EXPECT_EQ(row_.GetInt64(8), 2);
}

TEST_F(SymbolContainerTest, UnlockedRowTakesSymbolsAgain) {
    row_.Lock();
    row_.Unlock();
    row_.AddInt64(7, 1);
    EXPECT_EQ(row_.GetInt64(7), 1);
}

// Comparison and copy

TEST_F(SymbolContainerTest, OrderDoesNotMatterForEquality) {
    CSymbolContainer other;
    row_.AddInt64(7, 1).AddString(8, "text").AddBool(9, true);
    other.AddBool(9, true).AddInt64(7, 1).AddString(8, "text");
    EXPECT_TRUE(row_.Equals(other));
    EXPECT_FALSE(row_.NotEquals(other));
}

TEST_F(SymbolContainerTest, CountIdKindAndValueMatterForEquality) {
    row_.AddInt64(7, 1);
    CSymbolContainer more;
    more.AddInt64(7, 1).AddInt64(8, 1);
    CSymbolContainer otherId;
    otherId.AddInt64(8, 1);
    CSymbolContainer otherKind;
    otherKind.AddResourceId(7, 1);
    CSymbolContainer otherValue;
    otherValue.AddInt64(7, 2);
    for (const CSymbolContainer* other : {&more, &otherId, &otherKind, &otherValue}) {
        EXPECT_FALSE(row_.Equals(*other));
        EXPECT_TRUE(row_.NotEquals(*other));
    }
}

TEST_F(SymbolContainerTest, EveryKindIsComparedByValue) {
    FillWithAllKinds(row_);
    CSymbolContainer same;
    FillWithAllKinds(same);
    EXPECT_TRUE(row_.Equals(same));
    CSymbolContainer other;
    other.AddBlob(101, "other")
        .AddInt64(102, 0)
        .AddDouble(103, 0)
        .AddString(104, "other")
        .AddResourceId(105, 0)
        .AddCurrentTime(106)
        .AddUuidString(107, "00000000-0000-0000-0000-000000000001")
        .AddBool(108, false);
    for (const std::int32_t id : IdsOf(row_)) {
        const auto changed = row_.Clone();
        changed->SetValue(id, other.GetValue(id));
        EXPECT_FALSE(row_.Equals(*changed)) << id;
    }
}

TEST_F(SymbolContainerTest, RowOfAnotherClassIsNeverEqual) {
    const CForeignSymbolContainer other;
    EXPECT_FALSE(row_.Equals(other));
    EXPECT_TRUE(row_.NotEquals(other));
}

TEST_F(SymbolContainerTest, CloneIsADeepCopy) {
    FillWithAllKinds(row_);
    const auto copy = row_.Clone();
    EXPECT_EQ(IdsOf(*copy), IdsOf(row_));
    EXPECT_TRUE(copy->Equals(row_));
    row_.SetString(104, "changed");
    EXPECT_EQ(copy->GetString(104), "text");
}

TEST_F(SymbolContainerTest, CloneOfALockedRowIsUnlocked) {
    row_.AddInt64(7, 1);
    row_.Lock();
    const auto copy = row_.Clone();
    copy->AddInt64(8, 2);
    EXPECT_EQ(copy->GetCount(), 2u);
    EXPECT_EQ(row_.GetCount(), 1u);
}

TEST_F(SymbolContainerTest, CloneKeepsTheClock) {
    clock_->SetStartTime(0);
    const auto copy = row_.Clone();
    copy->AddCurrentTime(7);
    EXPECT_EQ(copy->GetUtcTime(7).year(), 1970);
}

}  // namespace
}  // namespace Kyr::Common::Logs
