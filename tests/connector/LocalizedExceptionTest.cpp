#include <gtest/gtest.h>
#include <string>
#include <type_traits>

#include "connector/LocalizedException.h"
#include "tests/support/VirtualSlot.h"

namespace Kyr::Common::Module {
namespace {

using Kyr::Test::VirtualSlot;

boost::shared_ptr<CExceptionHolder> HeldException() {
    const CLocalizedException thrown("Disk is full", 0x9B, 1);
    const CInterModuleException& carried = thrown;
    return carried.Hold();
}

TEST(LocalizedExceptionTest, CarriesTextAndBothHalvesOfTheCode) {
    const CLocalizedException error("Disk is full", 0x9B, 1);
    EXPECT_STREQ(error.what(), "Disk is full");
    EXPECT_EQ(error.GetCodeLow(), 0x9Bu);
    EXPECT_EQ(error.GetCodeHigh(), 1u);
}

TEST(LocalizedExceptionTest, CopyCarriesTheSame) {
    const CLocalizedException error("Disk is full", 0xFFFFFFFF, 0x80000000);
    const CLocalizedException copy(error);
    EXPECT_STREQ(copy.what(), "Disk is full");
    EXPECT_EQ(copy.GetCodeLow(), 0xFFFFFFFFu);
    EXPECT_EQ(copy.GetCodeHigh(), 0x80000000u);
}

TEST(LocalizedExceptionTest, HolderOutlivesTheExceptionAndTellsItsText) {
    EXPECT_EQ(HeldException()->GetMessageText(), "Disk is full");
}

TEST(LocalizedExceptionTest, HolderThrowsACopyWithTheCode) {
    const auto holder = HeldException();
    try {
        holder->Rethrow();
        FAIL() << "nothing was thrown";
    } catch (const CLocalizedException& error) {
        EXPECT_STREQ(error.what(), "Disk is full");
        EXPECT_EQ(error.GetCodeLow(), 0x9Bu);
        EXPECT_EQ(error.GetCodeHigh(), 1u);
    }
}

TEST(LocalizedExceptionTest, HolderThrowsAsOftenAsAsked) {
    const auto holder = HeldException();
    EXPECT_THROW(holder->Rethrow(), CLocalizedException);
    EXPECT_THROW(holder->Rethrow(), CInterModuleException);
    EXPECT_THROW(holder->Rethrow(), std::runtime_error);
}

TEST(LocalizedExceptionTest, ThrownCopyOfAThrownCopyCanBeHeldAgain) {
    boost::shared_ptr<CExceptionHolder> second;
    try {
        HeldException()->Rethrow();
    } catch (const CInterModuleException& error) {
        second = error.Hold();
    }
    ASSERT_NE(second, nullptr);
    EXPECT_THROW(second->Rethrow(), CLocalizedException);
}

TEST(LocalizedExceptionTest, ClassesDeriveAsTheHostKnowsThem) {
    EXPECT_TRUE((std::is_base_of_v<std::runtime_error, CInterModuleException>));
    EXPECT_TRUE(
        (std::is_base_of_v<CInterModuleException, CInterModuleExceptionImpl<CLocalizedException>>));
    EXPECT_TRUE(
        (std::is_base_of_v<CInterModuleExceptionImpl<CLocalizedException>, CLocalizedException>));
    EXPECT_TRUE((std::is_base_of_v<CExceptionHolder, CExceptionHolderImpl<CLocalizedException>>));
}

TEST(LocalizedExceptionTest, HoldFollowsTheOperationsOfEveryException) {
    // 0 the destructor, 1 what.
    EXPECT_EQ(VirtualSlot(&CInterModuleException::Hold), 2);
    EXPECT_EQ(VirtualSlot(&CLocalizedException::Hold), 2);
}

TEST(LocalizedExceptionTest, HolderKeepsItsDestructorBetweenItsOperations) {
    EXPECT_EQ(VirtualSlot(&CExceptionHolder::Rethrow, 0), 0);
    EXPECT_EQ(VirtualSlot(&CExceptionHolder::GetMessageText, 1), 2);
}

}  // namespace
}  // namespace Kyr::Common::Module
