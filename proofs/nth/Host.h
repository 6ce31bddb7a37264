// The host of one life: a bus that delivers, a log and a store that keep, each of which fails when
// a fault strikes; and what reached it, for the account at the end.
//
// Kinds of a fault: publish and log 0 a std::runtime_error, 1 what is no std::exception, 2 a
// std::bad_alloc; store read 0 and 1 the same, 2 a text that is no number; store write 0 and 1 the
// same, 2 refused.
// Threads: any.
#pragma once

#include <map>
#include <string>
#include <vector>

#include <boost/thread/lock_guard.hpp>
#include <boost/thread/mutex.hpp>
#include <boost/weak_ptr.hpp>

#include "host/kernel/IMessage.h"
#include "host/kernel/IResource.h"
#include "host/kernel/ISubscriber.h"
#include "proofs/nth/Told.h"

namespace Kyr::Proofs::Nth {

class CHost : public Common::Kernel::IResourceProvider {
  public:
    using Message = boost::shared_ptr<Common::Kernel::IMessage>;
    using Subscriber = boost::shared_ptr<Common::Kernel::ISubscriber>;

    CHost();

    boost::shared_ptr<Common::Kernel::IResource> GetResource(int number) override;

    /// Gives a message to whoever wants it; what a queue throws is tried once more. The thread is
    /// in a CSurroundings.
    void Deliver(const Message& message);
    /// Whether a queue has thrown.
    bool WasRefused() const { return refused_; }
    /// Whether replies still wait in their queue.
    bool HasReplies() const;
    /// The module that subscribed is gone.
    void ForgetSubscribers();
    /// Whether somebody holds a message that was delivered.
    bool IsMessageHeld() const;

    /// Texts of the lines of that level and above.
    std::vector<std::string> Lines(int level) const;
    /// Whether the module has said that it is connected.
    bool WasConnected() const;
    /// What lines must say: a text for each fault that has struck a call of this host, unless it
    /// costs nothing.
    std::vector<std::string> OwedLines() const;
    std::string Value(const std::string& key) const;
    /// What `question` finds in what was told so far.
    template <typename Question>
    auto Ask(const Question& question) const {
        const boost::lock_guard<boost::mutex> guard(mutex_);
        return question(told_);
    }

    // What the resources call.
    void Publish(const Message& message,
                 const boost::shared_ptr<Common::Kernel::IDeliveryContext>& context);
    void Subscribe(const Subscriber& subscriber, Common::Kernel::MessageType type);
    void Log(const std::string& text, int level);
    std::string Read(const std::string& key);
    bool Write(const std::string& key, const std::string& value);
    bool Store(const std::vector<std::string>& actions);

  private:
    void Fail(const std::string& what);
    void Route(const Message& message,
               const boost::shared_ptr<Common::Kernel::IDeliveryContext>& context);

    std::map<int, boost::shared_ptr<Common::Kernel::IResource>> resources_;
    bool refused_ = false;                                              // the delivering thread's
    std::vector<boost::weak_ptr<Common::Kernel::IMessage>> delivered_;  // the same
    mutable boost::mutex mutex_;                                        // guards everything below
    std::multimap<Common::Kernel::MessageType, Subscriber> subscribers_;
    std::vector<std::pair<int, std::string>> lines_;
    std::vector<std::string> owedLines_;
    std::map<std::string, std::string> values_;
    CTold told_;
};

}  // namespace Kyr::Proofs::Nth
