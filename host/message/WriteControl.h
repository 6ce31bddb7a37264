// The write protection that every bus message carries: writable until SetReadOnly, then never
// again.
//
// Threads: none inside; a message is built by one thread and read-only when others see it.
#pragma once

namespace Kyr::Common::Message {

class CWriteControl {
  public:
    virtual ~CWriteControl();
    virtual bool IsReadOnly() const;
    /// There is no way back.
    virtual void SetReadOnly();
    /// Throws std::runtime_error "Message is read only" when the message is read-only. Every setter
    /// calls it first.
    virtual void CheckWritable() const;

  private:
    bool readOnly_ = false;
};

}  // namespace Kyr::Common::Message
