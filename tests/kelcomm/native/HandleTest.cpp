#include <cstdint>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "kelcomm/native/Handle.h"

namespace Kyr::Test {

namespace {

namespace Native = Connectors::Common::Kelcomm::Native;
using testing::ElementsAre;
using testing::IsEmpty;

/// What was closed, by which function, in order.
std::vector<std::string>& Closed() {
    static std::vector<std::string> closed;
    return closed;
}

std::string Line(const char* function, const void* value) {
    return std::string(function) + " " + std::to_string(reinterpret_cast<std::uintptr_t>(value));
}

NtApi::Bool KYR_NTAPI RecordClose(NtApi::Handle handle) {
    Closed().push_back(Line("close", handle));
    return 1;
}

NtApi::Bool KYR_NTAPI RecordUnmap(const void* view) {
    Closed().push_back(Line("close", view));
    return 1;
}

NtApi::Bool KYR_NTAPI RecordOtherClose(NtApi::Handle handle) {
    Closed().push_back(Line("other", handle));
    return 1;
}

NtApi::Bool KYR_NTAPI RecordOtherUnmap(const void* view) {
    Closed().push_back(Line("other", view));
    return 1;
}

template <typename Owner>
class HandleTest : public testing::Test {
  protected:
    HandleTest() {
        Closed().clear();
        // Of two kinds only the right function is there: the other one's call would leave no line.
        if constexpr (std::is_same_v<Owner, Native::CHandle>) {
            native_.CloseHandle = &RecordClose;
            other_.CloseHandle = &RecordOtherClose;
        } else {
            native_.UnmapViewOfFile = &RecordUnmap;
            other_.UnmapViewOfFile = &RecordOtherUnmap;
        }
    }

    static typename Owner::Value Value(std::uintptr_t number) {
        return reinterpret_cast<typename Owner::Value>(number);
    }
    Owner Own(std::uintptr_t number) { return Owner(native_, Value(number)); }

    Native::NativeFunctions native_ = Native::FallbackNativeFunctions();
    Native::NativeFunctions other_ = Native::FallbackNativeFunctions();
};

using Owners = testing::Types<Native::CHandle, Native::CMappedView>;
struct OwnerNames {
    template <typename Owner>
    static std::string GetName(int) {
        return std::is_same_v<Owner, Native::CHandle> ? "Handle" : "View";
    }
};
TYPED_TEST_SUITE(HandleTest, Owners, OwnerNames);

TYPED_TEST(HandleTest, OwnerCannotBeCopied) {
    EXPECT_FALSE(std::is_copy_constructible_v<TypeParam>);
    EXPECT_FALSE(std::is_copy_assignable_v<TypeParam>);
    EXPECT_TRUE(std::is_nothrow_move_constructible_v<TypeParam>);
    EXPECT_TRUE(std::is_nothrow_move_assignable_v<TypeParam>);
}

TYPED_TEST(HandleTest, OwnerOfNothingClosesNothing) {
    {
        const TypeParam withoutTable;
        EXPECT_FALSE(withoutTable);
        const TypeParam empty(this->native_);
        EXPECT_FALSE(empty);
        const TypeParam invalid = this->Own(0);
        EXPECT_FALSE(invalid);
        EXPECT_EQ(nullptr, invalid.Get());
    }
    EXPECT_THAT(Closed(), IsEmpty());
}

TYPED_TEST(HandleTest, EndOfTheOwnerClosesOnce) {
    {
        const TypeParam owner = this->Own(8);
        EXPECT_TRUE(owner);
        EXPECT_EQ(this->Value(8), owner.Get());
        EXPECT_THAT(Closed(), IsEmpty());
    }
    EXPECT_THAT(Closed(), ElementsAre("close 8"));
}

TYPED_TEST(HandleTest, OwnersOfOneScopeCloseInReverse) {
    {
        const TypeParam first = this->Own(8);
        const TypeParam second = this->Own(12);
    }
    EXPECT_THAT(Closed(), ElementsAre("close 12", "close 8"));
}

TYPED_TEST(HandleTest, ResetClosesAtOnceAndOnlyOnce) {
    {
        TypeParam owner = this->Own(8);
        owner.Reset();
        EXPECT_FALSE(owner);
        EXPECT_THAT(Closed(), ElementsAre("close 8"));
        owner.Reset();
    }
    EXPECT_THAT(Closed(), ElementsAre("close 8"));
}

TYPED_TEST(HandleTest, ResetOfAnOwnerWithoutTableIsHarmless) {
    TypeParam owner;
    owner.Reset();
    EXPECT_FALSE(owner);
}

TYPED_TEST(HandleTest, ResetToAnotherClosesTheFirst) {
    {
        TypeParam owner = this->Own(8);
        owner.Reset(this->Value(12));
        EXPECT_EQ(this->Value(12), owner.Get());
        EXPECT_THAT(Closed(), ElementsAre("close 8"));
    }
    EXPECT_THAT(Closed(), ElementsAre("close 8", "close 12"));
}

TYPED_TEST(HandleTest, ResetToItselfKeepsItOpen) {
    {
        TypeParam owner = this->Own(8);
        owner.Reset(owner.Get());
        EXPECT_EQ(this->Value(8), owner.Get());
        EXPECT_THAT(Closed(), IsEmpty());
    }
    EXPECT_THAT(Closed(), ElementsAre("close 8"));
}

TYPED_TEST(HandleTest, ReleasedObjectStaysOpen) {
    {
        TypeParam owner = this->Own(8);
        EXPECT_EQ(this->Value(8), owner.Release());
        EXPECT_FALSE(owner);
    }
    EXPECT_THAT(Closed(), IsEmpty());
}

TYPED_TEST(HandleTest, MovedFromOwnsNothing) {
    {
        TypeParam source = this->Own(8);
        const TypeParam target(std::move(source));
        EXPECT_EQ(nullptr, source.Get());  // NOLINT(bugprone-use-after-move): this is the question
        EXPECT_EQ(this->Value(8), target.Get());
        source.Reset();
        EXPECT_THAT(Closed(), IsEmpty());
    }
    EXPECT_THAT(Closed(), ElementsAre("close 8"));
}

TYPED_TEST(HandleTest, MovedFromOwnerCanOwnAgain) {
    {
        TypeParam source = this->Own(8);
        const TypeParam target(std::move(source));
        source.Reset(this->Value(12));  // NOLINT(bugprone-use-after-move): this is the question
    }
    EXPECT_THAT(Closed(), ElementsAre("close 8", "close 12"));
}

TYPED_TEST(HandleTest, AssignmentClosesWhatStoodThere) {
    {
        TypeParam owner = this->Own(8);
        owner = this->Own(12);
        EXPECT_EQ(this->Value(12), owner.Get());
        EXPECT_THAT(Closed(), ElementsAre("close 8"));
    }
    EXPECT_THAT(Closed(), ElementsAre("close 8", "close 12"));
}

TYPED_TEST(HandleTest, AssignmentToItselfKeepsItOpen) {
    {
        TypeParam owner = this->Own(8);
        TypeParam& same = owner;
        owner = std::move(same);
        EXPECT_EQ(this->Value(8), owner.Get());
        EXPECT_THAT(Closed(), IsEmpty());
    }
    EXPECT_THAT(Closed(), ElementsAre("close 8"));
}

TYPED_TEST(HandleTest, EachObjectIsClosedByTheTableThatItCameWith) {
    {
        TypeParam owner = this->Own(8);
        owner = TypeParam(this->other_, this->Value(12));
    }
    EXPECT_THAT(Closed(), ElementsAre("close 8", "other 12"));
}

TYPED_TEST(HandleTest, OwnerWithoutTableTakesOneWithItsFirstObject) {
    {
        TypeParam owner;
        owner = this->Own(8);
    }
    EXPECT_THAT(Closed(), ElementsAre("close 8"));
}

}  // namespace

}  // namespace Kyr::Test
