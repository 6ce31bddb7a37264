// Turns what happens on the bus into events: `publish`, `deliver`, `error`, and for each log that
// is published the symbols in it.
//
// Threads: any.
#pragma once

#include "lab/common/LineWriter.h"
#include "lab/devhost/Bus.h"

namespace Kyr::Lab::DevHost {

class CMessagePrinter final : public IBusObserver {
  public:
    explicit CMessagePrinter(LineSink events);
    ~CMessagePrinter() override;
    void OnPublish(const CPublication& publication) override;
    void OnDeliver(const CPublication& publication, std::size_t subscriber) override;
    void OnDeliveryFailed(const CPublication& publication, std::size_t subscriber,
                          const std::string& text) override;

  private:
    const LineSink events_;
};

}  // namespace Kyr::Lab::DevHost
