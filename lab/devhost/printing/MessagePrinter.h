// Turns what happens on the bus into events: `publish`, `deliver`, `error`, and for each log that
// is published `symbols`. A log that does not fit its own type is an `error`. Told on demand are
// `subscribe`, `message` (what state a published one is in) and `record` (what it carries).
//
// Threads: any.
#pragma once

#include "host/message/LogMessage.h"
#include "lab/common/LineWriter.h"
#include "lab/devhost/resources/Bus.h"

namespace Kyr::Lab::DevHost {

class CMessagePrinter final : public IBusObserver {
  public:
    /// Without `tellsRecords` no `record` of a batch is told: making a line of each costs as much
    /// as storing it does, for nobody when nobody asked.
    explicit CMessagePrinter(LineSink events, bool tellsRecords = true);
    void OnSubscribe(Common::Kernel::MessageType type, std::size_t subscriber) override;
    void OnPublish(const Publication& publication) override;
    void OnDeliver(const Publication& publication, std::size_t subscriber) override;
    void OnDeliveryFailed(const Publication& publication, std::size_t subscriber,
                          const std::string& text) override;

  private:
    void PrintLog(const Publication& publication, const Common::Message::CLogMessage& log);

    const LineSink events_;
    const bool tellsRecords_;
};

}  // namespace Kyr::Lab::DevHost
