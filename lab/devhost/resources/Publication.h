// One message on its way over the bus, and the events that tell of it.
//
// Threads: any. Errors: none.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <boost/shared_ptr.hpp>

#include "host/kernel/IDeliveryContext.h"
#include "host/kernel/IMessage.h"
#include "lab/common/LineWriter.h"

namespace Kyr::Lab::DevHost {

/// The contexts of the host's bus: a number that stays with everything that one message caused.
class CDeliveryContext final : public Common::Kernel::IDeliveryContext {
  public:
    explicit CDeliveryContext(std::uint64_t number) : number_(number) {}
    std::uint64_t Number() const { return number_; }

  private:
    const std::uint64_t number_;
};

struct Publication {
    std::string publisher;
    boost::shared_ptr<Common::Kernel::IMessage> message;
    boost::shared_ptr<Common::Kernel::IDeliveryContext> context;
    bool cameWithContext = true;  // else the bus has given it a new one
};

/// The records of a message for the data miner, or null.
const std::vector<std::string>* RecordsOf(const Common::Kernel::IMessage& message);

/// The number of a type, as events carry it.
std::string TypeText(Common::Kernel::MessageType type);

/// An event of that kind, with the message's type, name and context; the number of a context that
/// is none of the host's bus is 0.
CLine BusLine(const char* kind, const Publication& publication);

/// Tells that it is published, and for a log its `symbols`, or as an `error` that it does not fit
/// its own type. Told on demand are `message`, what state it is in, and `record`, what it carries.
/// Without `tellsRecords` no `record` of a batch is told: making a line of each costs as much as
/// storing it does, for nobody when nobody asked.
void TellPublished(const Publication& publication, bool tellsRecords, const LineSink& events);

}  // namespace Kyr::Lab::DevHost
