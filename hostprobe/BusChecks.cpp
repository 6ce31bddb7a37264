#include "hostprobe/BusChecks.h"

#include <algorithm>
#include <vector>

#include <boost/make_shared.hpp>

#include "hostprobe/ProbeSubscriber.h"
#include "logs/OvAgentRequest.h"

namespace Kyr::HostProbe {

namespace Kernel = Common::Kernel;

namespace {

using Context = boost::shared_ptr<Kernel::IDeliveryContext>;
using Message = boost::shared_ptr<Kernel::IMessage>;
using Common::Message::Connectors::OvAgentConnector::COvAgentRequest;

constexpr int kMessages = 100;
/// Far from every number that a trigger has.
constexpr std::int32_t kFirstRequestType = 1'000'000;

class CBusCheck {
  public:
    CBusCheck(Kernel::IBusResource& bus, const boost::shared_ptr<Base::IClock>& clock,
              std::chrono::milliseconds patience, CReport& report)
        : bus_(bus),
          patience_(patience),
          report_(report),
          first_(boost::make_shared<CProbeSubscriber>(clock)),
          second_(boost::make_shared<CProbeSubscriber>(clock)) {}

    void Run() {
        bus_.Subscribe(first_, Kernel::MessageType::OvAgentRequest);
        bus_.Subscribe(first_, Kernel::MessageType::OvAgentRequest);
        bus_.Subscribe(second_, Kernel::MessageType::OvAgentRequest);
        if (!CheckDelivery()) {
            for (const char* point : {"bus-order", "bus-contexts", "bus-thread", "bus-survives",
                                      "bus-once", "bus-types"}) {
                report_.Tell(Verdict::kNotTried, point, "nothing is delivered");
            }
            return;
        }
        PublishMany();
        CheckOrder();
        CheckContexts();
        CheckThread();
        CheckSurvival();
        // At the end, so that what comes late comes before.
        CheckOnce();
        CheckTypes();
    }

  private:
    Message Make() const {
        const auto message = boost::make_shared<COvAgentRequest>();
        message->SetRequestType(kFirstRequestType + static_cast<std::int32_t>(published_.size()));
        message->SetReadOnly();
        return message;
    }

    Message Publish(const Context& context) {
        Message message = Make();
        Publish(message, context);
        return message;
    }

    void Publish(const Message& message, const Context& context) {
        published_.push_back({message, context});
        bus_.Publish(message, context);
    }

    bool HaveCome(const Message& message) {
        return first_->WaitFor(message, patience_) && second_->WaitFor(message, patience_);
    }

    bool CheckDelivery() {
        if (HaveCome(Publish({}))) {
            report_.Tell(Verdict::kFine, "bus-delivery",
                         "what the module publishes comes to its own subscribers");
            return true;
        }
        const bool other = !first_->Deliveries().empty() && !second_->Deliveries().empty();
        report_.Tell(Verdict::kWrong, "bus-delivery",
                     other ? "another object comes than was published"
                           : "what the module publishes does not come to each of its own "
                             "subscribers");
        return false;
    }

    void PublishMany() {
        context_ = first_->Deliveries().front().context;
        Message last;
        for (int i = 0; i < kMessages; ++i) {
            last = Publish(i % 2 == 0 ? context_ : Context());
        }
        HaveCome(last);
    }

    void CheckOrder() {
        bool inOrder = true;
        for (const auto& subscriber : {first_, second_}) {
            auto next = published_.begin();
            for (const Delivery& delivery : subscriber->Deliveries()) {
                // A second delivery has a point of its own.
                const auto found = std::find_if(
                    published_.begin(), published_.end(),
                    [&](const Sent& sent) { return sent.message == delivery.message; });
                inOrder = inOrder && (found == published_.end() || found <= next);
                next = found == next && next != published_.end() ? next + 1 : next;
            }
            inOrder = inOrder && next == published_.end();
        }
        report_.Judge(
            inOrder, "bus-order", "a hundred messages come in the order of publishing",
            "of a hundred messages some do not come in the order of publishing, or not at "
            "all");
    }

    void CheckContexts() {
        if (!context_) {
            report_.Tell(Verdict::kDoubtful, "bus-contexts",
                         "a message that is published without a context comes without one: what it "
                         "causes cannot be told from the rest");
            return;
        }
        bool kept = true;
        bool mixed = false;
        for (const auto& subscriber : {first_, second_}) {
            for (const Delivery& delivery : subscriber->Deliveries()) {
                for (const Sent& sent : published_) {
                    const bool same = sent.message == delivery.message;
                    kept = kept && (!same || !sent.context || sent.context == delivery.context);
                    mixed =
                        mixed || (same && !sent.context && sent.message != published_[0].message &&
                                  delivery.context == context_);
                }
            }
        }
        report_.Judge(kept && !mixed, "bus-contexts",
                      "a message comes in the context that it was published with",
                      kept ? "a message that is published without a context comes in one that "
                             "another message has"
                           : "a message comes in another context than it was published with");
    }

    void CheckThread() {
        bool inside = false;
        for (const auto& subscriber : {first_, second_}) {
            for (const Delivery& delivery : subscriber->Deliveries()) {
                inside = inside || delivery.thread == boost::this_thread::get_id();
            }
        }
        report_.Judge(!inside, "bus-thread", "the bus delivers on a thread of its own",
                      "the bus delivers from inside Publish: the connector can hang when it is "
                      "stopped");
    }

    void CheckSurvival() {
        const Message message = Make();
        first_->ThrowAt(message);
        Publish(message, {});
        const bool toOthers = second_->WaitFor(message, patience_);
        const bool later = HaveCome(Publish({}));
        report_.Judge(toOthers && later, "bus-survives",
                      "an exception that a subscriber throws does not end the delivery",
                      "after a subscriber has thrown an exception the bus delivers no more");
    }

    void CheckOnce() {
        bool once = true;
        for (const auto& subscriber : {first_, second_}) {
            const auto deliveries = subscriber->Deliveries();
            for (const Sent& sent : published_) {
                once = once && std::count_if(deliveries.begin(), deliveries.end(),
                                             [&](const Delivery& delivery) {
                                                 return delivery.message == sent.message;
                                             }) <= 1;
            }
        }
        report_.Judge(once, "bus-once",
                      "a subscriber gets a message once, also one that asked twice",
                      "a subscriber gets a message more than once: tasks would be done twice");
    }

    void CheckTypes() {
        bool asked = true;
        for (const auto& subscriber : {first_, second_}) {
            for (const Delivery& delivery : subscriber->Deliveries()) {
                asked = asked && delivery.message &&
                        delivery.message->GetMessageType() == Kernel::MessageType::OvAgentRequest;
            }
        }
        report_.Judge(asked, "bus-types", "only messages of the type that was asked for come",
                      "a subscriber gets messages of a type that it has not asked for");
    }

    struct Sent {
        Message message;
        Context context;
    };

    Kernel::IBusResource& bus_;  // borrowed
    const std::chrono::milliseconds patience_;
    CReport& report_;  // borrowed
    const boost::shared_ptr<CProbeSubscriber> first_;
    const boost::shared_ptr<CProbeSubscriber> second_;
    std::vector<Sent> published_;
    Context context_;  // that of the first message
};

}  // namespace

void CheckBus(Kernel::IBusResource& bus, const boost::shared_ptr<Base::IClock>& clock,
              std::chrono::milliseconds patience, CReport& report) {
    try {
        CBusCheck(bus, clock, patience, report).Run();
    } catch (const boost::thread_interrupted&) {
        throw;
    } catch (...) {
        report.Tell(Verdict::kWrong, "bus-delivery",
                    std::string("the bus throws an exception: ") + CaughtText());
    }
}

}  // namespace Kyr::HostProbe
