// What can give itself as a protobuf message.
//
// Threads: none inside; as the class that implements it.
// The order of the virtual operations is the host's contract.
#pragma once

#include <google/protobuf/message.h>

#include <boost/shared_ptr.hpp>

namespace Kyr::Common::Logs {

class IProtobufGetter {
  public:
    virtual ~IProtobufGetter();
    /// A new message, the caller's own.
    virtual boost::shared_ptr<google::protobuf::Message> GetProtobuf() const = 0;
};

}  // namespace Kyr::Common::Logs
