// A status log of a type that several products report side by side. Every row carries the key of
// the product that the log stands for.
//
// Threads: none inside; built by one thread, made read-only, then published.
#pragma once

#include "base/Clock.h"
#include "host/logs/IMultiSymbolContainer.h"
#include "host/message/LogMessage.h"

namespace Kyr::Common::Message::Logs {

class CMultiProductStatusLog : public CLogMessage {
  public:
    using Rows = boost::shared_ptr<Common::Logs::IMultiSymbolContainer>;
    using Symbols = boost::shared_ptr<Common::Logs::ISymbolContainer>;

    /// Throws std::runtime_error when `type` is no status log, or not a multi-product one, or when
    /// `productIdentification` lacks a product key of the log. `clock` gives the rows their current
    /// time.
    /// REQUIRES: `productIdentification` is not empty.
    CMultiProductStatusLog(Kernel::MessageType type, Symbols productIdentification,
                           boost::shared_ptr<Base::IClock> clock = Base::SystemClock());
    ~CMultiProductStatusLog() override;

    Kernel::MessageType GetMessageType() const override;
    /// "StatusLog_" and the name of the log type.
    std::string GetName() const override;
    /// Equal type and rows. Throws std::bad_cast when a message of the same type is no
    /// CMultiProductStatusLog.
    bool Equals(const Kernel::IMessage& other) const override;
    /// Throws std::runtime_error for the first row that does not fit the log type or the product.
    void Validate() const override;
    /// Locks the rows, too.
    void SetReadOnly() override;

    const Rows& GetSymbols() const { return rows_; }
    const Symbols& GetProductIdentification() const { return productIdentification_; }

  private:
    Kernel::MessageType type_;
    Rows rows_;
    Symbols productIdentification_;
};

}  // namespace Kyr::Common::Message::Logs
