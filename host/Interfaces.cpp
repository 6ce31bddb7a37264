// The host interfaces' destructors and reserved operations: one home for their virtual tables, so
// that objects can be cast across library borders.
#include "host/kernel/IModule.h"
#include "host/kernel/Resources.h"
#include "host/logs/IMultiSymbolContainer.h"
#include "host/logs/IProtobufGetter.h"

namespace Kyr::Common::Kernel {

IMessage::~IMessage() = default;
IDeliveryContext::~IDeliveryContext() = default;
ISubscriber::~ISubscriber() = default;
void ISubscriber::VisitPendingMessages(MessageVisitor /*visitor*/) {}
IResource::~IResource() = default;
IResourceProvider::~IResourceProvider() = default;
IModule::~IModule() = default;

IBusResource::~IBusResource() = default;
IInstallConfigurationResource::~IInstallConfigurationResource() = default;
void IInstallConfigurationResource::Reserved1() {}
void IInstallConfigurationResource::Reserved2() {}
void IInstallConfigurationResource::Reserved3() {}
void IInstallConfigurationResource::Reserved4() {}
void IInstallConfigurationResource::Reserved5() {}
void IInstallConfigurationResource::Reserved6() {}
void IInstallConfigurationResource::Reserved7() {}
void IInstallConfigurationResource::Reserved8() {}
void IInstallConfigurationResource::Reserved9() {}
void IInstallConfigurationResource::Reserved10() {}
void IInstallConfigurationResource::Reserved11() {}
ILoggerResource::~ILoggerResource() = default;
void ILoggerResource::Reserved1() {}
IIdGeneratorResource::~IIdGeneratorResource() = default;
IConfigurationResource::~IConfigurationResource() = default;
INetworkGrpcResource::~INetworkGrpcResource() = default;
IDatabaseResource::~IDatabaseResource() = default;
void IDatabaseResource::Reserved1() {}

}  // namespace Kyr::Common::Kernel

namespace Kyr::Common::Database {

IMapper::~IMapper() = default;
IKeyValueAccessMapper::~IKeyValueAccessMapper() = default;
IOvRemediationActionsMapper::~IOvRemediationActionsMapper() = default;

}  // namespace Kyr::Common::Database

namespace Kyr::Common::Logs {

ISerializable::~ISerializable() = default;
ILockable::~ILockable() = default;
IProtobufGetter::~IProtobufGetter() = default;
ISymbolContainer::~ISymbolContainer() = default;
IMultiSymbolContainer::~IMultiSymbolContainer() = default;

}  // namespace Kyr::Common::Logs
