// A name only, for Interfaces.cpp.
#pragma once

namespace Kyr::Common::DataDefinition::Common {
class MultiDataType;
class UTCTime;
class Uuid;
}  // namespace Kyr::Common::DataDefinition::Common
