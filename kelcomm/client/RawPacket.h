// The buffer of a raw packet: its own memory, or memory that somebody else owns.
//
// Part of the contract of the clients' buffers; the library itself has no raw packets.
// Errors and threads: as CBuffer.
#pragma once

#include <cstdint>

#include "kelcomm/client/Buffer.h"

namespace Kyr::Connectors::Common::Kelcomm {

class CRawPacket {
  public:
    class CAttachableBuffer : public CBuffer {
      public:
        CAttachableBuffer() = default;
        /// Attached memory is never freed.
        ~CAttachableBuffer() override;

        /// Lets go of what the buffer holds and points into `memory`, of which the first `size`
        /// bytes are held and `capacity` may be written. A buffer that has to grow past it moves to
        /// memory of its own. `memory` must outlive the attachment.
        /// REQUIRES: `size` is at most `capacity`.
        void Attach(void* memory, std::uint32_t capacity, std::uint32_t size);
        bool IsAttached() const { return attached_ != 0; }

      protected:
        void* Reallocate(void* block, std::uint32_t size) override;
        void Free(void* block) override;

      private:
        std::uint8_t attached_ = 0;  // 1 while the base points into foreign memory
    };
};

}  // namespace Kyr::Connectors::Common::Kelcomm
