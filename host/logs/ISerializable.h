// What can be written to and read from the byte form of its protobuf message.
//
// Threads: none inside; as the class that implements it.
// The order of the virtual operations is the host's contract.
#pragma once

#include <string>

namespace Kyr::Common::Logs {

class ISerializable {
  public:
    virtual ~ISerializable();
    /// Replaces `out`. Returns true when `out` is not empty afterwards.
    virtual bool SerializeToString(std::string& out) const = 0;
    /// Returns whether `in` could be parsed as a whole.
    virtual bool DeserializeFromString(const std::string& in) = 0;
};

}  // namespace Kyr::Common::Logs
