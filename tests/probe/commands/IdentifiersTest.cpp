#include <gmock/gmock.h>

#include "probe/commands/Identifiers.h"
#include "probe/commands/WrongUsage.h"

namespace Kyr::Probe {
namespace {

using testing::ElementsAre;

constexpr char kFirst[] = "6f9619ff-8b86-4d01-b42d-00cf4fc964ff";
constexpr char kSecond[] = "1B4E28BA-2FA1-41D2-883F-0016D3CCA427";
constexpr char kThird[] = "7d444840-9dc0-41d1-b245-5ffdce74fad2";

TEST(IdentifiersTest, UuidPassesAsItIs) {
    EXPECT_EQ(CheckedUuid(kFirst), kFirst);
    EXPECT_EQ(CheckedUuid(kSecond), kSecond);
}

TEST(IdentifiersTest, WhatIsNoUuidIsRefused) {
    for (const char* const text :
         {"", "6f9619ff", "6f9619ff-8b86-4d01-b42d-00cf4fc964f",
          "6f9619ff-8b86-4d01-b42d-00cf4fc964ff0", "6f9619ff+8b86-4d01-b42d-00cf4fc964ff",
          "6f9619ff-8b86-4d01-b42d-00cf4fc964f\"", "6f9619ff-8b86-4d01-b42d-00cf4fc964fg"}) {
        EXPECT_THROW(CheckedUuid(text), CWrongUsage) << text;
    }
}

TEST(IdentifiersTest, HashHasJustItsDigits) {
    const std::string digits(40, 'A');
    EXPECT_EQ(CheckedHash(digits, 40), digits);
    EXPECT_THROW(CheckedHash(digits, 64), CWrongUsage);
    EXPECT_THROW(CheckedHash(std::string(39, 'a') + '"', 40), CWrongUsage);
    EXPECT_THROW(CheckedHash("", 40), CWrongUsage);
}

TEST(IdentifiersTest, ThreeAreTakenInTheirOrder) {
    EXPECT_THAT(ThreeIdentifiers(std::string(kFirst) + ';' + kSecond + ';' + kThird),
                ElementsAre(kFirst, kSecond, kThird));
}

TEST(IdentifiersTest, OtherNumbersOfThemAreRefused) {
    const std::string two = std::string(kFirst) + ';' + kSecond;
    EXPECT_THROW(ThreeIdentifiers(two), CWrongUsage);
    EXPECT_THROW(ThreeIdentifiers(two + ';'), CWrongUsage);
    EXPECT_THROW(ThreeIdentifiers(two + ';' + kThird + ';' + kThird), CWrongUsage);
}

TEST(IdentifiersTest, WithoutATextTheyAreFresh) {
    const std::vector<std::string> once = ThreeIdentifiers("");
    const std::vector<std::string> again = ThreeIdentifiers("");
    ASSERT_EQ(once.size(), 3u);
    for (const std::string& identifier : once) {
        EXPECT_EQ(CheckedUuid(identifier), identifier);
    }
    EXPECT_NE(once, again);
}

}  // namespace
}  // namespace Kyr::Probe
