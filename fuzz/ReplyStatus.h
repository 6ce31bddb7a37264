// The statuses that the reply targets let a port return, chosen by one byte of the input.
#pragma once

#include <cstdint>

#include "ntapi/Status.h"

namespace Kyr::Fuzz {

inline NtApi::NtStatus ReplyStatus(std::uint8_t choice) {
    constexpr NtApi::NtStatus kStatuses[] = {NtApi::kStatusSuccess, NtApi::kStatusPortDisconnected,
                                             NtApi::kStatusInvalidParameter, NtApi::kStatusTimeout};
    return kStatuses[choice % 4];
}

}  // namespace Kyr::Fuzz
