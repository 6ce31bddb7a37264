// The native statuses that the port functions are known to return, under the system's names.
//
// The clients tell success, time-out, invalid parameter and buffer too small apart, and report
// unsuccessful themselves. The others are what the port layer returns, and what people read.
#pragma once

#include "ntapi/Types.h"

namespace Kyr::NtApi {

constexpr NtStatus kStatusSuccess = 0x00000000;
constexpr NtStatus kStatusWait0 = 0x00000000;
constexpr NtStatus kStatusAbandonedWait0 = 0x00000080;
/// Passes the usual success test: compare it before asking IsError.
constexpr NtStatus kStatusTimeout = 0x00000102;

// What the classic wait functions return.
constexpr std::uint32_t kWaitObject0 = 0x00000000;
constexpr std::uint32_t kWaitAbandoned = 0x00000080;
constexpr std::uint32_t kWaitTimeout = 0x00000102;
constexpr std::uint32_t kWaitFailed = 0xFFFFFFFF;
constexpr std::uint32_t kInfinite = 0xFFFFFFFF;  // a wait without a time limit

constexpr NtStatus kStatusUnsuccessful = static_cast<NtStatus>(0xC0000001);
constexpr NtStatus kStatusNotImplemented = static_cast<NtStatus>(0xC0000002);
constexpr NtStatus kStatusInvalidHandle = static_cast<NtStatus>(0xC0000008);
constexpr NtStatus kStatusInvalidParameter = static_cast<NtStatus>(0xC000000D);
constexpr NtStatus kStatusNoMemory = static_cast<NtStatus>(0xC0000017);
constexpr NtStatus kStatusAccessDenied = static_cast<NtStatus>(0xC0000022);
constexpr NtStatus kStatusBufferTooSmall = static_cast<NtStatus>(0xC0000023);
constexpr NtStatus kStatusPortMessageTooLong = static_cast<NtStatus>(0xC000002F);
constexpr NtStatus kStatusObjectNameInvalid = static_cast<NtStatus>(0xC0000033);
constexpr NtStatus kStatusObjectNameNotFound = static_cast<NtStatus>(0xC0000034);
constexpr NtStatus kStatusObjectNameCollision = static_cast<NtStatus>(0xC0000035);
constexpr NtStatus kStatusObjectPathNotFound = static_cast<NtStatus>(0xC000003A);
constexpr NtStatus kStatusPortDisconnected = static_cast<NtStatus>(0xC0000037);
constexpr NtStatus kStatusPortConnectionRefused = static_cast<NtStatus>(0xC0000041);
constexpr NtStatus kStatusDiskFull = static_cast<NtStatus>(0xC000007F);
constexpr NtStatus kStatusInvalidParameter1 = static_cast<NtStatus>(0xC00000EF);
constexpr NtStatus kStatusInvalidParameter2 = static_cast<NtStatus>(0xC00000F0);
constexpr NtStatus kStatusInvalidParameter3 = static_cast<NtStatus>(0xC00000F1);
constexpr NtStatus kStatusInvalidParameter4 = static_cast<NtStatus>(0xC00000F2);
constexpr NtStatus kStatusReplyMessageMismatch = static_cast<NtStatus>(0xC000021F);
constexpr NtStatus kStatusLpcReplyLost = static_cast<NtStatus>(0xC0000253);
constexpr NtStatus kStatusPortClosed = static_cast<NtStatus>(0xC0000700);
constexpr NtStatus kStatusMessageLost = static_cast<NtStatus>(0xC0000701);
constexpr NtStatus kStatusInvalidMessage = static_cast<NtStatus>(0xC0000702);
constexpr NtStatus kStatusLpcReceiveBufferExpected = static_cast<NtStatus>(0xC0000705);

/// True for statuses that count as failures (the sign bit of the status).
constexpr bool IsError(NtStatus status) {
    return status < 0;
}

}  // namespace Kyr::NtApi
