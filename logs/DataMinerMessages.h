// The messages to the host's data miner: batches of ECS records that it is to store, and the event
// that tells it to look at the remediation actions out of its order.
//
// The tasks that collect records publish them. Records are the product's texts, which nobody on the
// way looks into.
// Threads: none inside; filled by one thread, then published.
#pragma once

#include <string>
#include <vector>

#include "host/message/Message.h"

namespace Kyr::Common::Message::DataMiners {

/// What both kinds of batches are. `Concrete` is the batch class itself.
template <typename Concrete>
class CDataMinerStoreEcsLogs : public CMessage {
  public:
    /// The records, exactly as the product delivered them.
    const std::vector<std::string>& GetLogs() const { return logs_; }
    /// Throws std::runtime_error "Message is read only".
    void SetLogs(const std::vector<std::string>& logs) {
        CheckWritable();
        logs_ = logs;
    }
    /// The same for a list that the caller needs no longer.
    void SetLogs(std::vector<std::string>&& logs) {
        CheckWritable();
        logs_ = std::move(logs);
    }
    /// Equal type, class and records, in order. Never throws.
    bool Equals(const Kernel::IMessage& other) const override {
        const auto* same = dynamic_cast<const Concrete*>(&other);
        return other.GetMessageType() == GetMessageType() && same != nullptr &&
               same->GetLogs() == logs_;
    }

  private:
    std::vector<std::string> logs_;
};

/// Type 76, name "DataMinerStoreEcsIndicatorLogs".
class CDataMinerStoreEcsIndicatorLogs final
    : public CDataMinerStoreEcsLogs<CDataMinerStoreEcsIndicatorLogs> {
  public:
    ~CDataMinerStoreEcsIndicatorLogs() override;
    Kernel::MessageType GetMessageType() const override;
    std::string GetName() const override;
};

/// Type 77, name "DataMinerStoreEcsTelemetryLogs".
class CDataMinerStoreEcsTelemetryLogs final
    : public CDataMinerStoreEcsLogs<CDataMinerStoreEcsTelemetryLogs> {
  public:
    ~CDataMinerStoreEcsTelemetryLogs() override;
    Kernel::MessageType GetMessageType() const override;
    std::string GetName() const override;
};

/// Type 69, name "DataMinerOutOfOrderEventMessage": remediation actions were stored.
class CDataMinerOutOfOrderEventMessage final : public CMessage {
  public:
    ~CDataMinerOutOfOrderEventMessage() override;
    Kernel::MessageType GetMessageType() const override;
    std::string GetName() const override;
    /// Equal type.
    bool Equals(const Kernel::IMessage& other) const override;
};

}  // namespace Kyr::Common::Message::DataMiners
