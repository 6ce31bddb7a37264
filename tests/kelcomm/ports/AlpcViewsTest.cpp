#include <algorithm>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <iterator>
#include <new>
#include <string>
#include <vector>

#include "kelcomm/ports/AlpcViews.h"
#include "tests/support/AllocationWatch.h"
#include "tests/support/system/ScriptedNative.h"

namespace Kyr::Test {

namespace {

using Connectors::Common::Kelcomm::Alpc::CSendView;
using Connectors::Common::Kelcomm::Alpc::CViewAttribute;

constexpr std::uint32_t kView = 0x40000000;

class AlpcViewsTest : public testing::Test {
  protected:
    AlpcViewsTest() {
        NtApi::UnicodeString name{};
        NtApi::AlpcPortAttributes attributes{};
        std::uint8_t message = 0;
        std::size_t messageSize = 0;
        native_.GetFunctions().NtAlpcConnectPort(&port_, &name, nullptr, &attributes, 0, nullptr,
                                                 &message, &messageSize, nullptr, nullptr, nullptr);
    }
    void TearDown() override {
        native_.GetFunctions().CloseHandle(port_);
        EXPECT_EQ(0U, native_.CountLive());
        EXPECT_THAT(native_.Misuses(), testing::IsEmpty());
    }

    CScriptedNative native_;
    NtApi::Handle port_ = nullptr;
};

TEST_F(AlpcViewsTest, NewAttributeHasRoomForAViewAndHoldsNone) {
    CViewAttribute attribute;
    ASSERT_TRUE(attribute.Allocate(native_.GetFunctions()));
    EXPECT_FALSE(attribute.HasView());
    EXPECT_EQ(kView, attribute.GetAttributes()->AllocatedAttributes);
    EXPECT_EQ(0U, attribute.GetView().Flags);
    EXPECT_EQ(nullptr, attribute.GetView().ViewBase);
}

TEST_F(AlpcViewsTest, NewAttributeHoldsNothingOfWhatItsMemoryHeldBefore) {
    alignas(CViewAttribute) std::uint8_t memory[sizeof(CViewAttribute)];
    std::fill(std::begin(memory), std::end(memory), std::uint8_t{0xEE});
    auto* const attribute = new (memory) CViewAttribute;
    ASSERT_TRUE(attribute->Allocate(native_.GetFunctions()));
    EXPECT_EQ(0U, attribute->GetView().Flags);
    EXPECT_EQ(nullptr, attribute->GetView().SectionHandle);
    EXPECT_EQ(nullptr, attribute->GetView().ViewBase);
    EXPECT_EQ(0U, attribute->GetView().ViewSize);
    attribute->~CViewAttribute();
}

TEST_F(AlpcViewsTest, LargeAttributeIsZeroToItsEnd) {
    constexpr std::size_t kSize = 400;
    native_.ports.viewAttributeSize = kSize;
    // What the heap hands out next is, as a rule, what it was given back last.
    auto* const dirty = new std::uint8_t[kSize];
    std::fill_n(static_cast<volatile std::uint8_t*>(dirty), kSize, std::uint8_t{0xEE});
    delete[] dirty;
    CViewAttribute attribute;
    ASSERT_TRUE(attribute.Allocate(native_.GetFunctions()));
    const auto* const bytes = reinterpret_cast<const std::uint8_t*>(attribute.GetAttributes());
    EXPECT_EQ(std::vector<std::uint8_t>(kSize - 8),  // behind the head
              std::vector<std::uint8_t>(bytes + 8, bytes + kSize));
}

TEST_F(AlpcViewsTest, AttributeOfTheUsualSizeNeedsNoHeap) {
    CViewAttribute attribute;
    ASSERT_TRUE(attribute.Allocate(native_.GetFunctions()));
    const auto* const place = reinterpret_cast<const std::uint8_t*>(attribute.GetAttributes());
    const auto* const object = reinterpret_cast<const std::uint8_t*>(&attribute);
    EXPECT_LE(object, place);
    EXPECT_LT(place, object + sizeof(attribute));
}

TEST_F(AlpcViewsTest, AttributeOneByteLargerThanUsualIsMadeElsewhere) {
    native_.ports.viewAttributeSize += 1;
    CViewAttribute attribute;
    ASSERT_TRUE(attribute.Allocate(native_.GetFunctions()));
    const auto* const place = reinterpret_cast<const std::uint8_t*>(attribute.GetAttributes());
    const auto* const object = reinterpret_cast<const std::uint8_t*>(&attribute);
    EXPECT_TRUE(place < object || object + sizeof(attribute) <= place);
}

TEST_F(AlpcViewsTest, LargeAttributeWithoutMemoryIsAFailure) {
    KYR_SKIP_UNLESS_ALLOCATIONS_ARE_WATCHED();
    native_.ports.viewAttributeSize = 400;
    CViewAttribute attribute;
    bool allocated = true;
    {
        const CAllocationFailure failure;
        allocated = attribute.Allocate(native_.GetFunctions());
    }
    EXPECT_FALSE(allocated);
    EXPECT_EQ(nullptr, attribute.GetAttributes());
}

TEST_F(AlpcViewsTest, OnlyTheViewsOwnMarkSaysThatThereIsAView) {
    CViewAttribute attribute;
    ASSERT_TRUE(attribute.Allocate(native_.GetFunctions()));
    attribute.GetAttributes()->ValidAttributes = 0xBFFFFFFF;
    EXPECT_FALSE(attribute.HasView());
    attribute.GetAttributes()->ValidAttributes = kView;
    EXPECT_TRUE(attribute.HasView());
}

TEST_F(AlpcViewsTest, MarkingTheViewLeavesTheOtherMarks) {
    CViewAttribute attribute;
    ASSERT_TRUE(attribute.Allocate(native_.GetFunctions()));
    attribute.GetAttributes()->ValidAttributes = 0x20000000;
    attribute.SetHasView(true);
    EXPECT_EQ(0x60000000U, attribute.GetAttributes()->ValidAttributes);
    attribute.GetAttributes()->ValidAttributes = 0xFFFFFFFF;
    attribute.SetHasView(false);
    EXPECT_EQ(0xBFFFFFFFU, attribute.GetAttributes()->ValidAttributes);
}

TEST_F(AlpcViewsTest, AttributeIsMadeInTwoCalls) {
    CViewAttribute attribute;
    ASSERT_TRUE(attribute.Allocate(native_.GetFunctions()));
    EXPECT_EQ(2U, native_.CountCalls("AlpcInitializeMessageAttribute"));
}

TEST_F(AlpcViewsTest, SecondCallThatFailsIsAFailure) {
    native_.Fail("AlpcInitializeMessageAttribute", 1, 1);
    CViewAttribute attribute;
    EXPECT_FALSE(attribute.Allocate(native_.GetFunctions()));
}

TEST_F(AlpcViewsTest, SendingTakesTheMarkBack) {
    CSendView view(native_.GetFunctions(), port_);
    ASSERT_TRUE(view.Fill("abc", 3));
    EXPECT_EQ(kView, view.GetAttributes()->ValidAttributes);
    view.MarkSent();
    EXPECT_EQ(0U, view.GetAttributes()->ValidAttributes);
}

TEST_F(AlpcViewsTest, LeftOverViewIsDeletedFirst) {
    CSendView view(native_.GetFunctions(), port_);
    ASSERT_TRUE(view.Fill("abc", 3));
    ASSERT_TRUE(view.Fill("defg", 4));
    EXPECT_EQ(1U, native_.CountCalls("NtAlpcDeleteSectionView"));
    EXPECT_EQ(1U, native_.CountCalls("NtAlpcDeletePortSection"));
    EXPECT_EQ(1U, native_.CountLive("view"));
    EXPECT_EQ(1U, native_.CountLive("section"));
}

TEST_F(AlpcViewsTest, LeftOverViewIsDeletedOnceThoughTheNextOneFails) {
    {
        CSendView view(native_.GetFunctions(), port_);
        ASSERT_TRUE(view.Fill("abc", 3));
        native_.Fail("NtAlpcCreatePortSection", 1);
        EXPECT_FALSE(view.Fill("defg", 4));
    }
    EXPECT_EQ(std::vector<std::string>({"view", "section"}), native_.GivenBack());
    EXPECT_EQ(1U, native_.CountCalls("NtAlpcDeleteSectionView"));
    EXPECT_EQ(1U, native_.CountCalls("NtAlpcDeletePortSection"));
}

TEST_F(AlpcViewsTest, WhatAFailedSectionLeavesIsNotDeleted) {
    native_.Fail("NtAlpcCreatePortSection");
    {
        CSendView view(native_.GetFunctions(), port_);
        EXPECT_FALSE(view.Fill("abc", 3));
    }
    EXPECT_EQ(0U, native_.CountCalls("NtAlpcCreateSectionView"));
    EXPECT_EQ(0U, native_.CountCalls("NtAlpcDeletePortSection"));
}

TEST_F(AlpcViewsTest, WhatAFailedViewLeavesIsNeitherSentNorDeleted) {
    native_.Fail("NtAlpcCreateSectionView");
    {
        CSendView view(native_.GetFunctions(), port_);
        EXPECT_FALSE(view.Fill("abc", 3));
        EXPECT_EQ(0U, view.GetAttributes()->ValidAttributes);
    }
    EXPECT_EQ(0U, native_.CountCalls("NtAlpcDeleteSectionView"));
    EXPECT_EQ(std::vector<std::string>({"section"}), native_.GivenBack());
}

TEST_F(AlpcViewsTest, ViewIsDeletedBeforeItsSection) {
    {
        CSendView view(native_.GetFunctions(), port_);
        ASSERT_TRUE(view.Fill("abc", 3));
        ASSERT_TRUE(view.Fill("defg", 4));
    }
    EXPECT_EQ(std::vector<std::string>({"view", "section", "view", "section"}),
              native_.GivenBack());
}

TEST_F(AlpcViewsTest, NothingIsSentAlongWithoutAView) {
    CSendView view(native_.GetFunctions(), port_);
    EXPECT_EQ(nullptr, view.GetAttributes());
    view.MarkSent();
}

}  // namespace

}  // namespace Kyr::Test
