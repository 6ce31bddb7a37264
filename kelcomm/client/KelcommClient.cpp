#include "kelcomm/client/IKelcommClient.h"

namespace Kyr::Connectors::Common::Kelcomm {

IKelcommClient::~IKelcommClient() = default;

}  // namespace Kyr::Connectors::Common::Kelcomm
