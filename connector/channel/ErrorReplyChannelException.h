// A refusal by the product, as the connector layer tells it.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

namespace Kyr::Connectors::Common {

/// Deliberately unrelated to Kelcomm::CKelcommErrorReplyException: what the Kelcomm channel throws
/// is not caught as this class, and tasks treat it like any other failure.
class CErrorReplyChannelException : public std::runtime_error {
  public:
    CErrorReplyChannelException(const std::string& text, std::uint32_t status);
    CErrorReplyChannelException(const CErrorReplyChannelException&) = default;
    CErrorReplyChannelException& operator=(const CErrorReplyChannelException&) = default;
    ~CErrorReplyChannelException() override;

    /// The status of the product's reply.
    std::uint32_t GetStatus() const { return status_; }

  private:
    std::uint32_t status_;
};

}  // namespace Kyr::Connectors::Common
