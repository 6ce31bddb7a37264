// A refusal by the product: the exchange worked, and the reply's status says no.
//
// Threads and ownership: a value, like any exception.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

namespace Kyr::Connectors::Common::Kelcomm {

/// Deliberately unrelated to Common::CErrorReplyChannelException: who catches that one does not
/// catch this one.
class CKelcommErrorReplyException : public std::runtime_error {
  public:
    CKelcommErrorReplyException(const std::string& text, std::uint32_t status);
    CKelcommErrorReplyException(const CKelcommErrorReplyException&) = default;
    CKelcommErrorReplyException& operator=(const CKelcommErrorReplyException&) = default;
    ~CKelcommErrorReplyException() override;

    /// The status of the product's reply.
    std::uint32_t GetStatus() const { return status_; }

  private:
    std::uint32_t status_;
};

}  // namespace Kyr::Connectors::Common::Kelcomm
