#include <gtest/gtest.h>
#include <stdexcept>

#include "logs/SymbolValue.h"
#include "tests/support/ThrownText.h"

namespace Kyr::Common::Logs {
namespace {

using Test::ThrownText;

/// Leaves a value without any kind: it throws while the value changes to another one.
struct Bomb {
    operator std::string() const { throw std::runtime_error("bomb"); }
};

TEST(SymbolValueTest, IndexOfEachKindIsTheHosts) {
    EXPECT_EQ(SymbolValue(BlobValue("")).index(), 0u);
    EXPECT_EQ(SymbolValue(std::int64_t{1}).index(), 1u);
    EXPECT_EQ(SymbolValue(1.5).index(), 2u);
    EXPECT_EQ(SymbolValue(std::string()).index(), 3u);
    EXPECT_EQ(SymbolValue(ResourceIdValue{1}).index(), 4u);
    EXPECT_EQ(SymbolValue(boost::posix_time::ptime()).index(), 5u);
    EXPECT_EQ(SymbolValue(boost::uuids::uuid()).index(), 6u);
    EXPECT_EQ(SymbolValue(true).index(), 7u);
}

TEST(SymbolValueTest, ValueOfNoKindCannotBeConverted) {
    SymbolValue value = true;
    EXPECT_THROW(value.emplace<BlobValue>(Bomb()), std::runtime_error);
    ASSERT_TRUE(value.valueless_by_exception());
    DataDefinition::Common::MultiDataType target;
    EXPECT_EQ(ThrownText<std::logic_error>([&] { AppendTo(target, value); }),
              "Unknown variant type in CSymbolContainer::ToMdtType()");
}

}  // namespace
}  // namespace Kyr::Common::Logs
