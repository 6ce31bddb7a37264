// Finds and reads the one value that the product's server plug-in publishes in the broadcast area.
//
// The plug-in is one entry of the area's module table, which the product may rearrange at any time;
// the entry's timestamp says when its data have changed, so that a call usually costs one word.
// Threads: an object belongs to one thread, or to its owner's lock.
// Errors: std::runtime_error with the channel's texts.
#pragma once

#include <atomic>
#include <cstdint>

namespace Kyr::Connectors::Common::Kelcomm {

class IKelcommClient;

class CServerBroadcast {
  public:
    /// What Read returns when the product has no server plug-in.
    static constexpr std::int32_t kNoValue = -1;

    /// `available` is cleared once the product was seen to have no usable plug-in, and never set.
    /// It belongs to the owner, who may read it without the lock, and must outlive the object.
    explicit CServerBroadcast(std::atomic<bool>& available) : available_(available) {}

    /// The plug-in's value; kNoValue, with nothing read, when the plug-in is not available.
    /// REQUIRES: `client` is used by nobody else meanwhile.
    std::int32_t Read(IKelcommClient* client);

  private:
    /// The word `field` of entry `index` in the module table; throws with `failure`.
    std::uint32_t ReadEntry(IKelcommClient* client, std::uint32_t index, std::uint32_t field,
                            const char* failure);
    void ReadFirstModuleOffset(IKelcommClient* client);
    /// True when the cached entry still holds the value that was read last.
    bool IsUnchanged(IKelcommClient* client);
    bool FindModule(IKelcommClient* client);
    std::int32_t ReadValue(IKelcommClient* client);

    std::atomic<bool>& available_;
    std::uint32_t firstModuleOffset_ = 0;  // 0: not yet read
    std::int32_t moduleIndex_ = -1;        // -1: unknown
    std::uint32_t timestamp_ = 0;          // of the value that was read last
    std::int32_t value_ = kNoValue;        // that value
};

}  // namespace Kyr::Connectors::Common::Kelcomm
