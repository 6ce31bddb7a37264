// The name of a server's port in the run directory, from its claim to its end.
//
// Beside the socket stands a lock file that the owner keeps locked, so that a name left by a dead
// process is told from one in use and taken over.
#pragma once

#include <string>

#include "ntapi/Status.h"
#include "ntapi/Types.h"
#include "portlayer/linux/FileDescriptor.h"

namespace Kyr::PortLayer::Detail {

class CPortName {
  public:
    CPortName() = default;
    ~CPortName() { Give(); }

    /// Takes the name and listens at it. kStatusObjectNameCollision when it is in use.
    NtApi::NtStatus Take(const NtApi::UnicodeString& name, CFileDescriptor& listener);
    void Give();

  private:
    NtApi::NtStatus Lock();

    CFileDescriptor directory_;
    CFileDescriptor lock_;
    std::string file_;
};

}  // namespace Kyr::PortLayer::Detail
