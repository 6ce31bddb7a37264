#include "kelcomm/messages/SendAgentUUIDRequest.h"

#include <cstdint>
#include <cstring>
#include <new>
#include <utility>

#include "kelcomm/client/Buffer.h"
#include "kelcomm/messages/CommandHeader.h"

namespace Kyr::Connectors::Common::Kelcomm::Messages {

namespace {

// The product's tags; what the first record's constant says is known to the product only.
constexpr std::uint32_t kFirstTag = 0x00000104;
constexpr unsigned char kFirstValue[] = {3, 0, 0, 0};
constexpr std::uint32_t kAgentUuidTag = 0x00100002;

}  // namespace

CSendAgentUUIDRequest::CSendAgentUUIDRequest(std::string agentUuid)
    : agentUuid_(std::move(agentUuid)) {}

std::vector<unsigned char> CSendAgentUUIDRequest::Serialize() const {
    const char* const text = agentUuid_.c_str();
    CBuffer records;
    if (!records.AppendRecord(kFirstTag, kFirstValue, sizeof kFirstValue) ||
        !records.AppendRecord(kAgentUuidTag, text,
                              static_cast<std::uint32_t>(std::strlen(text) + 1))) {
        throw std::bad_alloc();  // a product must not get to know us by half of it
    }
    return MakeRequest(Command::SendAgentUUID,
                       {reinterpret_cast<const char*>(records.GetData()), records.GetSize()});
}

}  // namespace Kyr::Connectors::Common::Kelcomm::Messages
