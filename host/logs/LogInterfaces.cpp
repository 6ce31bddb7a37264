// The destructors of the log interfaces: one home for their virtual tables.
#include "host/logs/IMultiSymbolContainer.h"
#include "host/logs/IProtobufGetter.h"

namespace Kyr::Common::Logs {

ISerializable::~ISerializable() = default;
ILockable::~ILockable() = default;
IProtobufGetter::~IProtobufGetter() = default;
ISymbolContainer::~ISymbolContainer() = default;
IMultiSymbolContainer::~IMultiSymbolContainer() = default;

}  // namespace Kyr::Common::Logs
