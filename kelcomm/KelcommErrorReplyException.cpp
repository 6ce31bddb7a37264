#include "kelcomm/KelcommErrorReplyException.h"

namespace Kyr::Connectors::Common::Kelcomm {

CKelcommErrorReplyException::CKelcommErrorReplyException(const std::string& text,
                                                         std::uint32_t status)
    : std::runtime_error(text), status_(status) {}

CKelcommErrorReplyException::~CKelcommErrorReplyException() = default;

}  // namespace Kyr::Connectors::Common::Kelcomm
