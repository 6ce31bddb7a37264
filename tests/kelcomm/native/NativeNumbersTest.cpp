// The numbers and structures that are handed to the operating system or compared with what it says,
// as literals. The scripted system and the port layer use the same names as the clients, so a wrong
// number would be wrong on both sides and pass every other test.
#include <cstddef>
#include <gtest/gtest.h>

#include "ntapi/Alpc.h"
#include "ntapi/Functions.h"
#include "ntapi/PortMessage.h"
#include "ntapi/Status.h"

namespace Kyr::Test {

namespace {

using namespace NtApi;

std::uint32_t Number(NtStatus status) {
    return static_cast<std::uint32_t>(status);
}

TEST(NativeNumbersTest, StatusesAreTheSystems) {
    EXPECT_EQ(0x00000000U, Number(kStatusSuccess));
    EXPECT_EQ(0x00000000U, Number(kStatusWait0));
    EXPECT_EQ(0x00000080U, Number(kStatusAbandonedWait0));
    EXPECT_EQ(0x00000102U, Number(kStatusTimeout));
    EXPECT_EQ(0xC0000001U, Number(kStatusUnsuccessful));
    EXPECT_EQ(0xC0000002U, Number(kStatusNotImplemented));
    EXPECT_EQ(0xC0000008U, Number(kStatusInvalidHandle));
    EXPECT_EQ(0xC000000DU, Number(kStatusInvalidParameter));
    EXPECT_EQ(0xC0000017U, Number(kStatusNoMemory));
    EXPECT_EQ(0xC0000022U, Number(kStatusAccessDenied));
    EXPECT_EQ(0xC0000023U, Number(kStatusBufferTooSmall));
    EXPECT_EQ(0xC000002FU, Number(kStatusPortMessageTooLong));
    EXPECT_EQ(0xC0000033U, Number(kStatusObjectNameInvalid));
    EXPECT_EQ(0xC0000034U, Number(kStatusObjectNameNotFound));
    EXPECT_EQ(0xC0000035U, Number(kStatusObjectNameCollision));
    EXPECT_EQ(0xC0000037U, Number(kStatusPortDisconnected));
    EXPECT_EQ(0xC0000041U, Number(kStatusPortConnectionRefused));
    EXPECT_EQ(0xC00000EFU, Number(kStatusInvalidParameter1));
    EXPECT_EQ(0xC00000F0U, Number(kStatusInvalidParameter2));
    EXPECT_EQ(0xC00000F1U, Number(kStatusInvalidParameter3));
    EXPECT_EQ(0xC00000F2U, Number(kStatusInvalidParameter4));
    EXPECT_EQ(0xC000021FU, Number(kStatusReplyMessageMismatch));
    EXPECT_EQ(0xC0000253U, Number(kStatusLpcReplyLost));
    EXPECT_EQ(0xC0000700U, Number(kStatusPortClosed));
    EXPECT_EQ(0xC0000701U, Number(kStatusMessageLost));
    EXPECT_EQ(0xC0000702U, Number(kStatusInvalidMessage));
    EXPECT_EQ(0xC0000705U, Number(kStatusLpcReceiveBufferExpected));
}

TEST(NativeNumbersTest, NegativeStatusesAreErrorsAndNoOthers) {
    EXPECT_TRUE(IsError(static_cast<NtStatus>(0xC0000001)));
    EXPECT_TRUE(IsError(static_cast<NtStatus>(0x80000000)));
    EXPECT_FALSE(IsError(0x7FFFFFFF));
    EXPECT_FALSE(IsError(0x102));
    EXPECT_FALSE(IsError(0));
}

TEST(NativeNumbersTest, WaitResultsAreTheSystems) {
    EXPECT_EQ(0x00000000U, kWaitObject0);
    EXPECT_EQ(0x00000080U, kWaitAbandoned);
    EXPECT_EQ(0x00000102U, kWaitTimeout);
    EXPECT_EQ(0xFFFFFFFFU, kWaitFailed);
    EXPECT_EQ(0xFFFFFFFFU, kInfinite);
}

TEST(NativeNumbersTest, AttributesAndFlagsOfAdvancedPortsAreTheSystems) {
    EXPECT_EQ(0x80000000U, kAlpcMessageSecurityAttribute);
    EXPECT_EQ(0x40000000U, kAlpcMessageViewAttribute);
    EXPECT_EQ(0x20000000U, kAlpcMessageContextAttribute);
    EXPECT_EQ(0x10000000U, kAlpcMessageHandleAttribute);
    EXPECT_EQ(0x10000U, kAlpcPortAllowImpersonation);
    EXPECT_EQ(0x10000U, kAlpcReleaseMessage);
    EXPECT_EQ(0x20000U, kAlpcSynchronous);
    EXPECT_EQ(0x10000U, kAlpcViewUnmapExisting);
    EXPECT_EQ(0x20000U, kAlpcViewAutoRelease);
    EXPECT_EQ(0x40000U, kAlpcViewSecured);
    EXPECT_EQ(0x40000U, kAlpcPortSectionSecure);
}

TEST(NativeNumbersTest, ImpersonationLevelsAndTrackingAreTheSystems) {
    EXPECT_EQ(1U, kSecurityIdentification);
    EXPECT_EQ(2U, kSecurityImpersonation);
    EXPECT_EQ(1U, kSecurityDynamicTracking);
}

TEST(NativeNumbersTest, KindsOfMessagesAreTheSystems) {
    EXPECT_EQ(0x00FFU, kMessageKindMask);
    EXPECT_EQ(1U, kLpcRequest);
    EXPECT_EQ(2U, kLpcReply);
    EXPECT_EQ(3U, kLpcDatagram);
    EXPECT_EQ(4U, kLpcLostReply);
    EXPECT_EQ(5U, kLpcPortClosed);
    EXPECT_EQ(6U, kLpcClientDied);
    EXPECT_EQ(10U, kLpcConnectionRequest);
    EXPECT_EQ(11U, kLpcConnectionReply);
    EXPECT_EQ(0x2000U, kLpcContinuationRequired);
}

TEST(NativeNumbersTest, PortMessageHeaderBeginsTheSameInBothWidths) {
    EXPECT_EQ(0U, kDataLengthOffset);
    EXPECT_EQ(2U, kTotalLengthOffset);
    EXPECT_EQ(4U, kTypeOffset);
    EXPECT_EQ(6U, kDataInfoOffset);
    EXPECT_EQ(65535U, kAlpcMaxMessage);
}

TEST(NativeNumbersTest, PortMessageOf32BitsHasItsPlaces) {
    using Layout = PortMessageLayout<std::uint32_t>;
    EXPECT_EQ(24U, std::size_t{Layout::kHeaderSize});
    EXPECT_EQ(8U, std::size_t{Layout::kProcessId});
    EXPECT_EQ(12U, std::size_t{Layout::kThreadId});
    EXPECT_EQ(16U, std::size_t{Layout::kMessageId});
    EXPECT_EQ(20U, std::size_t{Layout::kViewSize});
    EXPECT_EQ(328U, std::size_t{Layout::kMaxMessage});
    EXPECT_EQ(4U, std::size_t{Layout::kDataEntries});
    EXPECT_EQ(8U, std::size_t{Layout::kDataEntrySize});
    EXPECT_EQ(4U, std::size_t{Layout::kDataEntryLength});
}

TEST(NativeNumbersTest, PortMessageOf64BitsHasItsPlaces) {
    using Layout = PortMessageLayout<std::uint64_t>;
    EXPECT_EQ(40U, std::size_t{Layout::kHeaderSize});
    EXPECT_EQ(8U, std::size_t{Layout::kProcessId});
    EXPECT_EQ(16U, std::size_t{Layout::kThreadId});
    EXPECT_EQ(24U, std::size_t{Layout::kMessageId});
    EXPECT_EQ(32U, std::size_t{Layout::kViewSize});
    EXPECT_EQ(648U, std::size_t{Layout::kMaxMessage});
    EXPECT_EQ(8U, std::size_t{Layout::kDataEntries});
    EXPECT_EQ(16U, std::size_t{Layout::kDataEntrySize});
    EXPECT_EQ(8U, std::size_t{Layout::kDataEntryLength});
}

// ---- structures, whose fields two sides could have swapped alike ----

constexpr std::size_t kWord = sizeof(void*);

TEST(NativeNumbersTest, SecurityQualityHasItsFieldsInOrder) {
    EXPECT_EQ(0U, offsetof(SecurityQualityOfService, Length));
    EXPECT_EQ(4U, offsetof(SecurityQualityOfService, ImpersonationLevel));
    EXPECT_EQ(8U, offsetof(SecurityQualityOfService, ContextTrackingMode));
    EXPECT_EQ(9U, offsetof(SecurityQualityOfService, EffectiveOnly));
}

TEST(NativeNumbersTest, PortAttributesHaveTheirFieldsInOrder) {
    EXPECT_EQ(0U, offsetof(AlpcPortAttributes, Flags));
    EXPECT_EQ(4U, offsetof(AlpcPortAttributes, SecurityQos));
    EXPECT_EQ(16U, offsetof(AlpcPortAttributes, MaxMessageLength));
    EXPECT_EQ(16U + 1 * kWord, offsetof(AlpcPortAttributes, MemoryBandwidth));
    EXPECT_EQ(16U + 2 * kWord, offsetof(AlpcPortAttributes, MaxPoolUsage));
    EXPECT_EQ(16U + 3 * kWord, offsetof(AlpcPortAttributes, MaxSectionSize));
    EXPECT_EQ(16U + 4 * kWord, offsetof(AlpcPortAttributes, MaxViewSize));
    EXPECT_EQ(16U + 5 * kWord, offsetof(AlpcPortAttributes, MaxTotalSectionSize));
    EXPECT_EQ(16U + 6 * kWord, offsetof(AlpcPortAttributes, DupObjectTypes));
}

TEST(NativeNumbersTest, AttributeHeadHasItsFieldsInOrder) {
    EXPECT_EQ(0U, offsetof(AlpcMessageAttributes, AllocatedAttributes));
    EXPECT_EQ(4U, offsetof(AlpcMessageAttributes, ValidAttributes));
}

TEST(NativeNumbersTest, ViewAttributeHasItsFieldsInOrder) {
    EXPECT_EQ(0U, offsetof(AlpcDataViewAttr, Flags));
    EXPECT_EQ(1 * kWord, offsetof(AlpcDataViewAttr, SectionHandle));
    EXPECT_EQ(2 * kWord, offsetof(AlpcDataViewAttr, ViewBase));
    EXPECT_EQ(3 * kWord, offsetof(AlpcDataViewAttr, ViewSize));
}

TEST(NativeNumbersTest, ContextAttributeHasItsFieldsInOrder) {
    EXPECT_EQ(0U, offsetof(AlpcContextAttr, PortContext));
    EXPECT_EQ(1 * kWord, offsetof(AlpcContextAttr, MessageContext));
    EXPECT_EQ(2 * kWord, offsetof(AlpcContextAttr, Sequence));
    EXPECT_EQ(2 * kWord + 4, offsetof(AlpcContextAttr, MessageId));
    EXPECT_EQ(2 * kWord + 8, offsetof(AlpcContextAttr, CallbackId));
}

TEST(NativeNumbersTest, CountedStringHasItsFieldsInOrder) {
    EXPECT_EQ(0U, offsetof(UnicodeString, Length));
    EXPECT_EQ(2U, offsetof(UnicodeString, MaximumLength));
    EXPECT_EQ(kWord, offsetof(UnicodeString, Buffer));
    EXPECT_EQ(2 * kWord, sizeof(UnicodeString));
}

TEST(NativeNumbersTest, ObjectAttributesHaveTheirFieldsInOrder) {
    EXPECT_EQ(0U, offsetof(ObjectAttributes, Length));
    EXPECT_EQ(1 * kWord, offsetof(ObjectAttributes, RootDirectory));
    EXPECT_EQ(2 * kWord, offsetof(ObjectAttributes, ObjectName));
    EXPECT_EQ(3 * kWord, offsetof(ObjectAttributes, Attributes));
    EXPECT_EQ(4 * kWord, offsetof(ObjectAttributes, SecurityDescriptor));
    EXPECT_EQ(5 * kWord, offsetof(ObjectAttributes, SecurityQualityOfService));
    EXPECT_EQ(6 * kWord, sizeof(ObjectAttributes));
}

TEST(NativeNumbersTest, PagesOfMemoryHaveTheirSizeBehindTwoAddressesAndAWord) {
    EXPECT_EQ(0U, offsetof(MemoryBasicInformation, BaseAddress));
    EXPECT_EQ(1 * kWord, offsetof(MemoryBasicInformation, AllocationBase));
    EXPECT_EQ(2 * kWord, offsetof(MemoryBasicInformation, AllocationProtect));
    EXPECT_EQ(3 * kWord, offsetof(MemoryBasicInformation, RegionSize));
    EXPECT_EQ(4 * kWord, offsetof(MemoryBasicInformation, State));
}

TEST(NativeNumbersTest, WindowMessageHasTheSystemsSize) {
    EXPECT_EQ(1 * kWord, offsetof(WindowMessage, message));
    EXPECT_EQ(2 * kWord, offsetof(WindowMessage, wParam));
    EXPECT_EQ(3 * kWord, offsetof(WindowMessage, lParam));
    EXPECT_EQ(4 * kWord, offsetof(WindowMessage, time));
    EXPECT_EQ(kWord == 4 ? 28U : 48U, sizeof(WindowMessage));
}

}  // namespace

}  // namespace Kyr::Test
