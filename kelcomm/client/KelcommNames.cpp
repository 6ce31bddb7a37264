#include "kelcomm/client/KelcommNames.h"

#include <cstdio>

namespace Kyr::Connectors::Common::Kelcomm {

namespace {

// Formats narrow and widens afterwards: what %s means in a wide format differs between C libraries,
// and wchar_t is not 16 bits everywhere.
ObjectName Format(const char* prefix, std::uint32_t firstId, std::uint32_t secondId,
                  const char* suffix) {
    char text[kObjectNameLength];
    std::snprintf(text, sizeof(text), "%sKELCOMM%08XTo%08X%s", prefix, unsigned{firstId},
                  unsigned{secondId}, suffix);
    ObjectName name{};
    for (std::size_t i = 0; text[i] != '\0'; ++i) {
        name[i] = static_cast<char16_t>(text[i]);
    }
    return name;
}

constexpr char kPortPrefix[] = "\\BaseNamedObjects\\";
constexpr char kBroadcastPrefix[] = "Global\\";

}  // namespace

ObjectName LpcPortName(std::uint32_t clientId, std::uint32_t serverId) {
    return Format(kPortPrefix, clientId, serverId, "CommPort");
}

ObjectName AlpcPortName(std::uint32_t clientId, std::uint32_t serverId) {
    return Format(kPortPrefix, clientId, serverId, "CommPortAlpc");
}

ObjectName BroadcastMutexName(std::uint32_t clientId, std::uint32_t serverId) {
    return Format(kBroadcastPrefix, serverId, clientId, "BroadcastMutex");
}

ObjectName BroadcastSectionName(std::uint32_t clientId, std::uint32_t serverId) {
    return Format(kBroadcastPrefix, serverId, clientId, "Broadcast");
}

}  // namespace Kyr::Connectors::Common::Kelcomm
