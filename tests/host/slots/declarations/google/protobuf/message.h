// A name only, for Interfaces.cpp.
#pragma once

namespace google::protobuf {
class Message;
}  // namespace google::protobuf
