// The server's side of NtAlpcSendWaitReceivePort.
#pragma once

#include "portlayer/core/AlpcClient.h"
#include "portlayer/core/ServerPort.h"

namespace Kyr::PortLayer::Detail {

NtApi::NtStatus ServerSendWaitReceive(CServerPort& port, const AlpcCall& call);

}  // namespace Kyr::PortLayer::Detail
