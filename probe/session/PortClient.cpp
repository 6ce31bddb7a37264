#include "probe/session/PortClient.h"

#include "kelcomm/client/KelcommConnection.h"
#include "kelcomm/ports/KelcommAlpcClient.h"
#include "kelcomm/ports/KelcommClientNt.h"

namespace Kyr::Probe {

namespace Kelcomm = Connectors::Common::Kelcomm;

namespace {

/// A client must be closed before it is destroyed.
void CloseAndDelete(Kelcomm::IKelcommClient* client) {
    client->Close();
    delete client;
}

}  // namespace

std::shared_ptr<Kelcomm::IKelcommClient> MakePortClient(
    Port port, const Kelcomm::Native::NativeFunctions& native) {
    if (port == Port::kLegacy) {
        return {Kelcomm::CreateKelcommClientNt(native).release(), &CloseAndDelete};
    }
    std::shared_ptr<Kelcomm::IKelcommClient> client(new Kelcomm::CKelcommAlpcClient(native),
                                                    &CloseAndDelete);
    client->Initialize(Kelcomm::kKelcommClientId, Kelcomm::kKelcommServerId,
                       Kelcomm::kKelcommNoOptions);
    return client;
}

}  // namespace Kyr::Probe
