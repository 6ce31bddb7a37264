// A log message that reports one event, or one change of state, as one row of symbols.
//
// Which symbols an event has, the host's table says; connector/reports fills them in, in one place
// for each kind.
// Threads: none inside; built by one thread, made read-only, then published.
#pragma once

#include <cstdint>

#include "base/Clock.h"
#include "host/logs/ISymbolContainer.h"
#include "host/message/LogMessage.h"

namespace Kyr::Common::Message::Logs {

class CEventLog : public CLogMessage {
  public:
    using Symbols = boost::shared_ptr<Common::Logs::ISymbolContainer>;

    /// What the host reads of an event log beside its symbols. Layout and values are contract; this
    /// system leaves them as they are.
    struct HostFields {
        bool flag = true;
        std::int32_t first = -1;
        std::int32_t second = -1;
    };

    /// Throws std::runtime_error "CEventLog: Message type <n> is not event or delta log".
    /// `clock` gives the row its current time.
    explicit CEventLog(Kernel::MessageType type,
                       boost::shared_ptr<Base::IClock> clock = Base::SystemClock());
    ~CEventLog() override;

    Kernel::MessageType GetMessageType() const override;
    /// "EventLog_" and the name of the log type.
    std::string GetName() const override;
    /// Equal type and symbols. Throws std::bad_cast when a message of the same type is no
    /// CEventLog.
    bool Equals(const Kernel::IMessage& other) const override;
    void Validate() const override;
    /// Locks the row, too.
    void SetReadOnly() override;

    /// The row, to add symbols to.
    const Symbols& GetSymbols() const { return symbols_; }
    const HostFields& GetHostFields() const { return hostFields_; }

  private:
    Kernel::MessageType type_;
    Symbols symbols_;
    HostFields hostFields_;
};

}  // namespace Kyr::Common::Message::Logs
