// The server's side of NtAlpcSendWaitReceivePort.
#pragma once

#include "portlayer/linux/AlpcClient.h"
#include "portlayer/linux/ServerPort.h"

namespace Kyr::PortLayer::Detail {

NtApi::NtStatus ServerSendWaitReceive(CServerPort& port, const CAlpcCall& call);

}  // namespace Kyr::PortLayer::Detail
