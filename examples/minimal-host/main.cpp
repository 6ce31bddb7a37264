// The smallest host that gets a task done: it loads the connector, asks the product to kill one
// process, and ends when the product has said what became of that. docs/writing-a-host.md explains
// it step by step.
//
//   minimal-host <connector library> <pid>      exit code 0: done, 1: not done, 2: wrong usage
#include <Poco/ClassLoader.h>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <iostream>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <thread>

#include <boost/make_shared.hpp>

#include "host/Catalogue.h"
#include "host/kernel/IModule.h"
#include "host/kernel/Resources.h"
#include "host/logs/Symbols.h"
#include "host/message/OvAgentTasks.h"
#include "logs/EventLog.h"

namespace Database = Kyr::Common::Database;
namespace Kernel = Kyr::Common::Kernel;
namespace Symbol = Kyr::Common::Logs::Symbols::Task;
namespace Task = Kyr::Common::Catalogue::Task;
using Message = boost::shared_ptr<Kernel::IMessage>;
using Context = boost::shared_ptr<Kernel::IDeliveryContext>;
using Event = Kyr::Common::Message::Logs::CEventLog;
using Kill = Kyr::Common::Message::Connectors::OvAgentConnector::Task::CKillProcessByPid;
using Subscriber = boost::shared_ptr<Kernel::ISubscriber>;

namespace {

constexpr char kClassName[] = "Kyr::Connectors::OvAgentConnector::CConnectorModule";
constexpr char kInstance[] = "0a000000-0000-4000-8000-00000000000a";
constexpr char kIdentifier[] = "0a000000-0000-4000-8000-000000000001";

// Delivers in the order of publishing, and never from inside Publish: a module may hold locks there
// that it needs to take a message.
class CBus final : public Kernel::IBusResource {
  public:
    void Publish(const Message& message, const Context& context) override {
        const std::lock_guard lock(mutex_);
        queue_.emplace_back(message,
                            context ? context : boost::make_shared<Kernel::IDeliveryContext>());
        published_.notify_one();
    }
    void Subscribe(const Subscriber& subscriber, Kernel::MessageType type) override {
        const std::lock_guard lock(mutex_);
        subscribers_[type].insert(subscriber);  // once, however often it asks
    }
    /// Delivers the next message, and returns it; nothing when none comes until `end`.
    Message DeliverNext(std::chrono::steady_clock::time_point end) {
        std::unique_lock lock(mutex_);
        if (!published_.wait_until(lock, end, [this] { return !queue_.empty(); })) {
            return {};
        }
        const auto [message, context] = queue_.front();
        queue_.pop_front();
        const std::set<Subscriber> receivers = subscribers_[message->GetMessageType()];
        lock.unlock();
        for (const Subscriber& receiver : receivers) {
            try {
                receiver->Push(message, context);
            } catch (const std::exception& problem) {  // the others get it all the same
                std::cerr << message->GetName() << " is lost: " << problem.what() << '\n';
            }
        }
        return message;
    }

  private:
    std::mutex mutex_;
    std::condition_variable published_;
    std::deque<std::pair<Message, Context>> queue_;
    std::map<Kernel::MessageType, std::set<Subscriber>> subscribers_;
};

class CLog final : public Kernel::ILoggerResource {
  public:
    void Log(const std::string& text, int level, const std::string& source) override {
        // One piece, so that lines of several threads do not mix.
        std::cout << std::to_string(level) + ' ' + source + ": " + text + '\n' << std::flush;
    }
};

// Lives as long as the process. A real one is on disk: the offsets in it say how many records of
// the product the server has.
class CKeyValues final : public Database::IKeyValueAccessMapper {
  public:
    std::string GetValue(const std::string& key) override {
        const std::lock_guard lock(mutex_);
        return values_[key];
    }
    bool SetValue(const std::string& key, const std::string& value) override {
        const std::lock_guard lock(mutex_);
        values_[key] = value;
        return true;
    }

  private:
    std::mutex mutex_;
    std::map<std::string, std::string> values_;
};

class CActions final : public Database::IOvRemediationActionsMapper {
  public:
    // No promise to keep what it cannot keep: the connector asks the product again.
    bool StoreActions(const std::vector<std::string>& actions) override { return actions.empty(); }
};

class CDatabase final : public Kernel::IDatabaseResource {
  public:
    boost::shared_ptr<Database::IMapper> GetMapper(int number) override {
        return number == Database::kKeyValueAccessMapper         ? keyValues_
               : number == Database::kOvRemediationActionsMapper ? actions_
                                                                 : nullptr;
    }

  private:
    const boost::shared_ptr<Database::IMapper> keyValues_ = boost::make_shared<CKeyValues>();
    const boost::shared_ptr<Database::IMapper> actions_ = boost::make_shared<CActions>();
};

class CInstallConfiguration final : public Kernel::IInstallConfigurationResource {
  public:
    std::string GetInstanceUUID() const override { return kInstance; }
};

class CIdGenerator final : public Kernel::IIdGeneratorResource {
  public:
    std::uint32_t GenerateId() override { return ++last_; }

  private:
    std::atomic<std::uint32_t> last_{0};
};

class CResources final : public Kernel::IResourceProvider {
  public:
    explicit CResources(const boost::shared_ptr<CBus>& bus)
        : resources_{
              {Kernel::kBusResource, bus},
              {Kernel::kInstallConfigurationResource, boost::make_shared<CInstallConfiguration>()},
              {Kernel::kLoggerResource, boost::make_shared<CLog>()},
              {Kernel::kIdGeneratorResource, boost::make_shared<CIdGenerator>()},
              {Kernel::kDatabaseResource, boost::make_shared<CDatabase>()},
              {Kernel::kConfigurationResource,
               boost::make_shared<Kernel::IConfigurationResource>()},
              {Kernel::kNetworkGrpcResource, boost::make_shared<Kernel::INetworkGrpcResource>()}} {}
    boost::shared_ptr<Kernel::IResource> GetResource(int number) override {
        return resources_[number];  // empty, if it has none of that number
    }

  private:
    std::map<int, boost::shared_ptr<Kernel::IResource>> resources_;
};

Message KillTask(std::uint64_t pid) {
    Kill::Payload payload;
    payload.set_process_id(pid);
    Kill::Uuid id;
    id.set_uuid(kIdentifier);
    const auto task = boost::make_shared<Kill>();
    task->SetPayload(payload);
    task->SetIdentifiers(id, id, id);  // the server's three differ
    task->SetReadOnly();
    return task;
}

/// Whether the task of the event is done; nothing of other messages, and while it is tried again.
std::optional<bool> OutcomeIn(const Message& message) {
    const auto event = boost::dynamic_pointer_cast<Event>(message);
    if (!event || event->GetMessageType() != Kernel::MessageType::TaskEvent ||
        event->GetSymbols()->GetUuid(Symbol::kFirstIdentifier).uuid() != kIdentifier) {
        return std::nullopt;
    }
    if (event->GetSymbols()->GetInt32(Symbol::kStatus) == Task::kFailed) {
        return false;
    }
    const bool again = event->GetSymbols()->GetResourceId(Symbol::kOutcome) == Task::kFailedText;
    return again ? std::nullopt : std::optional(true);
}

bool Run(const std::string& library, std::uint64_t pid) {
    const auto bus = boost::make_shared<CBus>();
    CResources resources(bus);
    Poco::ClassLoader<Kernel::IModule> loader;
    loader.loadLibrary(library);
    const auto& metaObject = loader.classFor(kClassName);
    Kernel::IModule& module = *metaObject.autoDelete(metaObject.create());
    module.Initialize(resources);
    std::optional<bool> done;
    try {
        module.Start();
        bus->Publish(KillTask(pid), {});
        const auto end = std::chrono::steady_clock::now() + std::chrono::minutes(1);
        for (Message message; !done && (message = bus->DeliverNext(end));) {
            done = OutcomeIn(message);
        }
    } catch (const std::exception& problem) {  // the module's threads must end all the same
        std::cerr << "minimal-host: " << problem.what() << '\n';
    }
    module.RequestStop();
    for (int tries = 0; !module.Stop(tries == 50); ++tries) {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
    loader.destroy(kClassName, &module);
    return done.value_or(false);  // the library stays loaded: messages of it are still on the bus
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::cerr << "usage: minimal-host <connector library> <pid>\n";
        return 2;
    }
    try {
        const bool done = Run(argv[1], std::stoull(argv[2]));
        std::cout << (done ? "the task is done" : "the task is not done") << std::endl;
        return done ? 0 : 1;
    } catch (const Poco::Exception& problem) {
        std::cerr << "minimal-host: " << problem.displayText() << '\n';
    } catch (const std::exception& problem) {
        std::cerr << "minimal-host: " << problem.what() << '\n';
    }
    return 1;
}
