// Clients of the two ports, written against the native functions alone: neither the connector's
// clients nor the simulated product's own coding stands behind them.
//
// Threads: one at a time. Errors: a failing native call is reported by its status.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "ntapi/Status.h"
#include "ntapi/Types.h"

namespace Kyr::Lab::SimProduct {

struct PortReply {
    NtApi::NtStatus status = NtApi::kStatusUnsuccessful;
    std::uint32_t code = 0;           // result code; the rest holds only when status is a success
    std::uint32_t length = 0;         // announced
    std::vector<std::uint8_t> bytes;  // what really came
};

/// Ends a port's handle.
class CPortHandle {
  public:
    CPortHandle() = default;
    ~CPortHandle();
    CPortHandle(const CPortHandle&) = delete;
    CPortHandle& operator=(const CPortHandle&) = delete;

    NtApi::Handle handle = nullptr;
};

class CLpcPortClient {
  public:
    NtApi::NtStatus Connect(const char* magic = "KelComm ");
    /// A small message when payload and capacity allow it, else a large one.
    PortReply Exchange(std::uint32_t command, const std::vector<std::uint8_t>& payload,
                       std::uint32_t capacity);
    NtApi::NtStatus SendOneWay(const std::vector<std::uint8_t>& payload);

  private:
    CPortHandle port_;
};

class CAlpcPortClient {
  public:
    NtApi::NtStatus Connect(const char* magic = "KelComm ");
    /// A long payload goes in a view, and a view that comes with the reply is read and released.
    PortReply Exchange(std::uint32_t command, const std::vector<std::uint8_t>& payload,
                       std::uint32_t capacity);
    NtApi::NtStatus SendOneWay(const std::vector<std::uint8_t>& payload);

    /// Whether the last reply came with a view.
    bool CameWithView() const { return cameWithView_; }

  private:
    CPortHandle port_;
    bool cameWithView_ = false;
};

}  // namespace Kyr::Lab::SimProduct
