// What the host knows of the message types that report one thing: as an event, as a change of state
// (delta), or as a whole state (status).
//
// A thing has at most one message type for each of the three forms. The log type says which symbols
// its rows have; delta and status share one.
// Immutable after construction; shared by all threads.
#pragma once

#include "host/kernel/MessageType.h"
#include "host/logs/LogDescriptor.h"

namespace Kyr::Common::Logs {

/// The message type of a form in which the thing is not reported. No message has it.
constexpr Kernel::MessageType kNoMessageType = static_cast<Kernel::MessageType>(-1);

class CLogMessageDescriptor {
  public:
    struct MessageTypes {
        Kernel::MessageType event = kNoMessageType;
        Kernel::MessageType delta = kNoMessageType;
        Kernel::MessageType status = kNoMessageType;
    };

    /// Describes nothing: no message type equals one of its three.
    CLogMessageDescriptor() = default;
    CLogMessageDescriptor(const MessageTypes& types, LogType eventLogType, LogType deltaLogType)
        : types_(types), eventLogType_(eventLogType), deltaLogType_(deltaLogType) {}

    Kernel::MessageType GetEventMessageType() const { return types_.event; }
    Kernel::MessageType GetDeltaMessageType() const { return types_.delta; }
    Kernel::MessageType GetStatusMessageType() const { return types_.status; }
    bool IsDelta(Kernel::MessageType type) const { return type == types_.delta; }
    LogType GetEventLogType() const { return eventLogType_; }
    /// Also the log type of the status form.
    LogType GetDeltaLogType() const { return deltaLogType_; }
    LogType GetLogType(Kernel::MessageType type) const {
        return type == types_.event ? eventLogType_ : deltaLogType_;
    }

  private:
    MessageTypes types_;
    LogType eventLogType_ = DataDefinition::Logs::UNKNOWN;
    LogType deltaLogType_ = DataDefinition::Logs::UNKNOWN;
};

}  // namespace Kyr::Common::Logs
