// The server's side of NtAlpcSendWaitReceivePort.
#pragma once

#include "portlayer/packets/AlpcCall.h"
#include "portlayer/server/ServerPort.h"

namespace Kyr::PortLayer::Detail {

NtApi::NtStatus ServerSendWaitReceive(CServerPort& port, const AlpcCall& call);

}  // namespace Kyr::PortLayer::Detail
