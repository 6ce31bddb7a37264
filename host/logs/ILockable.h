// What can be guarded against late modification. A lock of this kind is no thread lock: it says
// that somebody has finished with the object, and makes later changes throw.
//
// Threads: none inside; as the class that implements it.
// The order of the virtual operations is the host's contract.
#pragma once

namespace Kyr::Common::Logs {

class ILockable {
  public:
    virtual ~ILockable();
    virtual void Lock() = 0;
    virtual void Unlock() = 0;
};

}  // namespace Kyr::Common::Logs
