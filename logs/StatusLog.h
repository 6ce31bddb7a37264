// A log message that reports the current state of something as a table of symbol rows. No rows is a
// valid state.
//
// It tells the whole state: what is not in its rows is not so.
// Threads: none inside; built by one thread, made read-only, then published.
#pragma once

#include "base/Clock.h"
#include "host/logs/IMultiSymbolContainer.h"
#include "host/message/LogMessage.h"

namespace Kyr::Common::Message::Logs {

class CStatusLog : public CLogMessage {
  public:
    using Rows = boost::shared_ptr<Common::Logs::IMultiSymbolContainer>;

    /// Throws std::runtime_error when `type` is no status log, or a multi-product one.
    /// `clock` gives the rows their current time.
    explicit CStatusLog(Kernel::MessageType type,
                        boost::shared_ptr<Base::IClock> clock = Base::SystemClock());
    ~CStatusLog() override;

    Kernel::MessageType GetMessageType() const override;
    /// "StatusLog_" and the name of the log type.
    std::string GetName() const override;
    /// Equal type and rows. Throws std::bad_cast when a message of the same type is no CStatusLog.
    bool Equals(const Kernel::IMessage& other) const override;
    /// Throws std::runtime_error for the first row that does not fit the log type.
    void Validate() const override;
    /// Locks the rows, too.
    void SetReadOnly() override;

    const Rows& GetSymbols() const { return rows_; }

  private:
    Kernel::MessageType type_;
    Rows rows_;
};

}  // namespace Kyr::Common::Message::Logs
