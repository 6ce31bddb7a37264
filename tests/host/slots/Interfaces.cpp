// The interfaces that host and module share beside those of host/Interfaces.cpp, for compilers that
// have no library of their own here: declarations/ names what they take and return, which is all
// that a table needs. A table is laid out where its class's destructor stands. See
// SlotOrderTest.py.
#include "connector/channel/IBufferReceiver.h"
#include "connector/channel/IChannel.h"
#include "host/message/LogMessage.h"
#include "kelcomm/client/IKelcommClient.h"

namespace Kyr::Common::Message {
CLogMessage::~CLogMessage() = default;
CMessage::~CMessage() = default;
CWriteControl::~CWriteControl() = default;
}  // namespace Kyr::Common::Message

namespace Kyr::Connectors::Common {
IBufferReceiver::~IBufferReceiver() = default;
IChannel::~IChannel() = default;
}  // namespace Kyr::Connectors::Common

namespace Kyr::Connectors::Common::Kelcomm {
IKelcommClient::~IKelcommClient() = default;
}  // namespace Kyr::Connectors::Common::Kelcomm
