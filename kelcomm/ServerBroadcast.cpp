#include "kelcomm/ServerBroadcast.h"

#include <limits>
#include <stdexcept>

#include "base/LittleEndian.h"
#include "kelcomm/client/BroadcastLayout.h"
#include "kelcomm/client/IKelcommClient.h"

namespace Kyr::Connectors::Common::Kelcomm {

namespace {

constexpr char kTimestampFailed[] = "CKelcommChannel: Get user data timestamp broadcast failed";
constexpr char kModuleIdFailed[] = "CKelcommChannel: Get module id broadcast failed";

std::uint32_t ReadWord(IKelcommClient* client, std::uint64_t offset, const char* failure) {
    std::uint32_t value = 0;
    if (client == nullptr || offset > std::numeric_limits<std::uint32_t>::max() ||
        client->ReadBroadcastValue(static_cast<std::uint32_t>(offset), &value) != kKelcommSuccess) {
        throw std::runtime_error(failure);
    }
    return value;
}

}  // namespace

std::int32_t CServerBroadcast::Read(IKelcommClient* client) {
    if (!available_) {
        // A caller that found it still available has waited for its lock, and the one who had the
        // lock meanwhile has found the plug-in missing.
        return kNoValue;
    }
    if (moduleIndex_ >= 0 && IsUnchanged(client)) {
        return value_;
    }
    if (moduleIndex_ < 0 && !FindModule(client)) {
        available_ = false;
        return kNoValue;
    }
    value_ = ReadValue(client);
    return value_;
}

std::uint32_t CServerBroadcast::ReadEntry(IKelcommClient* client, std::uint32_t index,
                                          std::uint32_t field, const char* failure) {
    ReadFirstModuleOffset(client);
    return ReadWord(
        client, firstModuleOffset_ + std::uint64_t{Broadcast::kEntrySize} * index + field, failure);
}

void CServerBroadcast::ReadFirstModuleOffset(IKelcommClient* client) {
    if (firstModuleOffset_ == 0) {
        firstModuleOffset_ = ReadWord(client, Broadcast::kFirstModuleOffset,
                                      "CKelcommChannel: Get first module offset broadcast failed");
    }
}

bool CServerBroadcast::IsUnchanged(IKelcommClient* client) {
    const auto index = static_cast<std::uint32_t>(moduleIndex_);
    // The table's place may still be unknown; that it cannot be read says nothing about the entry,
    // and must not make the channel forget it.
    ReadFirstModuleOffset(client);
    std::uint32_t timestamp = 0;
    try {
        timestamp = ReadEntry(client, index, Broadcast::kUserDataTimestamp, kTimestampFailed);
    } catch (const std::runtime_error&) {
        moduleIndex_ = -1;
        throw;
    }
    if (timestamp == timestamp_) {
        return true;
    }
    // Remembered before anything else is read, which may fail: then the old value is answered until
    // the data change once more. The table may have been rearranged as well; an entry that is no
    // longer the plug-in's is looked for anew.
    timestamp_ = timestamp;
    if (ReadEntry(client, index, Broadcast::kModuleId, kModuleIdFailed) !=
        Broadcast::kServerPlugin) {
        moduleIndex_ = -1;
    }
    return false;
}

bool CServerBroadcast::FindModule(IKelcommClient* client) {
    const std::uint32_t count = ReadWord(client, Broadcast::kModuleCount,
                                         "CKelcommChannel: Get modules count broadcast failed");
    for (std::uint32_t index = 0; index < count; ++index) {
        if (ReadEntry(client, index, Broadcast::kModuleId, kModuleIdFailed) ==
            Broadcast::kServerPlugin) {
            moduleIndex_ = static_cast<std::int32_t>(index);
            timestamp_ = ReadEntry(client, index, Broadcast::kUserDataTimestamp, kTimestampFailed);
            return true;
        }
    }
    return false;
}

std::int32_t CServerBroadcast::ReadValue(IKelcommClient* client) {
    const auto index = static_cast<std::uint32_t>(moduleIndex_);
    const std::uint32_t offset =
        ReadEntry(client, index, Broadcast::kUserDataOffset,
                  "CKelcommChannel: Get user data offset broadcast failed");
    const std::uint32_t size = ReadEntry(client, index, Broadcast::kUserDataSize,
                                         "CKelcommChannel: Get user data size broadcast failed");
    // A plug-in of another kind than we know: no use in asking again.
    if (size < Broadcast::kServerBlockSize) {
        available_ = false;
        throw std::runtime_error(
            "CKelcommChannel: serverPluginSize size is smaller than requested size");
    }
    // In one read, under the product's mutex: what was checked piece by piece may be old by now,
    // but the two words of the block belong together.
    unsigned char block[Broadcast::kServerBlockSize];
    if (client->ReadBroadcast(offset, block, sizeof block) != kKelcommSuccess) {
        throw std::runtime_error("CKelcommChannel: Get TSERVER_BROADCAST failed");
    }
    return static_cast<std::int32_t>(
        Base::LoadLittleEndian<std::uint32_t>(block + Broadcast::kServerValue));
}

}  // namespace Kyr::Connectors::Common::Kelcomm
