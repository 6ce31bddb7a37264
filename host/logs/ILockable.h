// What can be guarded against late modification. A lock of this kind is no thread lock.
//
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
