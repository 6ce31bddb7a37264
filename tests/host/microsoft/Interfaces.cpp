// The interfaces that host and module share, for a compiler of the Microsoft ABI that has no
// library of its own here: declarations/ names what they take and return, which is all that a table
// needs. A table is laid out where its class's destructor stands. See MicrosoftSlotOrderTest.py.
#include "connector/channel/IBufferReceiver.h"
#include "connector/channel/IChannel.h"
#include "host/kernel/IModule.h"
#include "host/kernel/Resources.h"
#include "host/logs/ILockable.h"
#include "host/logs/IMultiSymbolContainer.h"
#include "host/logs/IProtobufGetter.h"
#include "host/logs/ISymbolContainer.h"
#include "host/message/LogMessage.h"
#include "kelcomm/client/IKelcommClient.h"

namespace Kyr::Common::Kernel {
IBusResource::~IBusResource() = default;
IDatabaseResource::~IDatabaseResource() = default;
IInstallConfigurationResource::~IInstallConfigurationResource() = default;
ILoggerResource::~ILoggerResource() = default;
IMessage::~IMessage() = default;
IModule::~IModule() = default;
IResource::~IResource() = default;
IResourceProvider::~IResourceProvider() = default;
ISubscriber::~ISubscriber() = default;
}  // namespace Kyr::Common::Kernel

namespace Kyr::Common::Logs {
ILockable::~ILockable() = default;
IMultiSymbolContainer::~IMultiSymbolContainer() = default;
IProtobufGetter::~IProtobufGetter() = default;
ISerializable::~ISerializable() = default;
ISymbolContainer::~ISymbolContainer() = default;
}  // namespace Kyr::Common::Logs

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
