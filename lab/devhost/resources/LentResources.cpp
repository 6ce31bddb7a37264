#include "lab/devhost/resources/LentResources.h"

#include <atomic>
#include <cstdint>
#include <string>
#include <utility>

#include <boost/make_shared.hpp>

#include "lab/devhost/resources/Publication.h"

namespace Kyr::Lab::DevHost {

namespace Kernel = Common::Kernel;
namespace Database = Common::Database;

namespace {

/// That the module asked for something by number, and whether there is one.
CLine GivenLine(const char* kind, int number, bool given) {
    return CLine(kind).With("number", std::to_string(number)).With("given", given ? "yes" : "no");
}

class CDataMiner final : public Kernel::IBusResource {
  public:
    explicit CDataMiner(LentSources sources) : sources_(std::move(sources)) {}

    void Publish(const boost::shared_ptr<Kernel::IMessage>& message,
                 const boost::shared_ptr<Kernel::IDeliveryContext>& context) override {
        sources_.failures.Meet(Failure::kPublish, message ? message->GetName() : "nothing");
        const std::vector<std::string>* const records = message ? RecordsOf(*message) : nullptr;
        if (records == nullptr) {
            sources_.bus->Publish(message, context);
            return;
        }
        sources_.steps.Pass(CollectionStep::kAfterReply);
        sources_.database.StoreRecords(message->GetMessageType(), *records);
        sources_.events(
            CLine("mined").With("name", message->GetName()).With("records", records->size()));
        sources_.bus->Publish(message, context);
        sources_.steps.Pass(CollectionStep::kAfterPublish);
    }
    void Subscribe(const boost::shared_ptr<Kernel::ISubscriber>& subscriber,
                   Kernel::MessageType type) override {
        sources_.bus->Subscribe(subscriber, type);
    }

  private:
    const LentSources sources_;
};

bool IsOffset(const std::string& key) {
    return key == "XDR_OFFSET" || key == "XDR_TELEMETRY_OFFSET" || key == "OV_REMEDIATION_OFFSET";
}

const char* ResultOf(bool stored) {
    return stored ? "stored" : "refused";
}

class CKeyValueAccessMapper final : public Database::IKeyValueAccessMapper {
  public:
    explicit CKeyValueAccessMapper(LentSources sources) : sources_(std::move(sources)) {}

    std::string GetValue(const std::string& key) override {
        sources_.failures.Meet(Failure::kRead, key);
        if (IsOffset(key)) {
            sources_.steps.Pass(CollectionStep::kBeforeRequest);
        }
        std::string value = sources_.database.GetValue(key);
        sources_.events(CLine("read").With("key", key).With("value", value));
        return value;
    }

    bool SetValue(const std::string& key, const std::string& value) override {
        if (sources_.failures.Take(Failure::kWrite, key)) {
            return false;
        }
        if (IsOffset(key)) {
            sources_.steps.Pass(CollectionStep::kBeforeOffset);
        }
        const bool stored = sources_.database.SetValue(key, value);
        sources_.events(
            CLine("write").With("key", key).With("value", value).With("result", ResultOf(stored)));
        if (stored && IsOffset(key)) {
            sources_.steps.Pass(CollectionStep::kAfterOffset);
        }
        return stored;
    }

  private:
    const LentSources sources_;
};

class COvRemediationActionsMapper final : public Database::IOvRemediationActionsMapper {
  public:
    explicit COvRemediationActionsMapper(LentSources sources) : sources_(std::move(sources)) {}

    bool StoreActions(const std::vector<std::string>& actions) override {
        if (sources_.failures.Take(Failure::kWrite, "actions")) {
            return false;
        }
        sources_.steps.Pass(CollectionStep::kAfterReply);
        const bool stored = sources_.database.StoreActions(actions);
        sources_.events(
            CLine("write").With("actions", actions.size()).With("result", ResultOf(stored)));
        if (stored) {
            sources_.steps.Pass(CollectionStep::kAfterPublish);
        }
        return stored;
    }

  private:
    const LentSources sources_;
};

/// Gives out each mapper as an object of its own: a module that asks for the wrong one finds that
/// it is not what it takes it for.
class CModuleDatabase final : public Kernel::IDatabaseResource {
  public:
    explicit CModuleDatabase(const LentSources& sources)
        : events_(sources.events),
          mappers_{
              {Database::kKeyValueAccessMapper, boost::make_shared<CKeyValueAccessMapper>(sources)},
              {Database::kOvRemediationActionsMapper,
               boost::make_shared<COvRemediationActionsMapper>(sources)}} {}

    boost::shared_ptr<Database::IMapper> GetMapper(int number) override {
        const auto found = mappers_.find(number);
        const bool given = found != mappers_.end();
        events_(GivenLine("mapper", number, given));
        return given ? found->second : nullptr;
    }

  private:
    const LineSink events_;
    const std::map<int, boost::shared_ptr<Database::IMapper>> mappers_;
};

/// Every line goes to the events and to the log file.
class CHostLog final : public Kernel::ILoggerResource {
  public:
    explicit CHostLog(LentSources sources) : sources_(std::move(sources)) {}

    void Log(const std::string& text, int level, const std::string& source) override {
        sources_.failures.Meet(Failure::kLog, text);
        const CLine line = CLine("log")
                               .With("level", std::to_string(level))
                               .With("source", source)
                               .With("text", text);
        sources_.events(line);
        sources_.logFile(line);
    }

  private:
    const LentSources sources_;
};

class CInstallConfiguration final : public Kernel::IInstallConfigurationResource {
  public:
    explicit CInstallConfiguration(std::string instanceUuid)
        : instanceUuid_(std::move(instanceUuid)) {}
    std::string GetInstanceUUID() const override { return instanceUuid_; }

  private:
    const std::string instanceUuid_;
};

/// Counts from 1.
class CIdGenerator final : public Kernel::IIdGeneratorResource {
  public:
    std::uint32_t GenerateId() override { return ++last_; }

  private:
    std::atomic<std::uint32_t> last_{0};
};

// Modules hold these two and call nothing of them.
class CConfiguration final : public Kernel::IConfigurationResource {};
class CNetworkGrpc final : public Kernel::INetworkGrpcResource {};

}  // namespace

CLentResources::CLentResources(const LentSources& sources)
    : events_(sources.events),
      resources_{
          {Kernel::kBusResource, boost::make_shared<CDataMiner>(sources)},
          {Kernel::kInstallConfigurationResource,
           boost::make_shared<CInstallConfiguration>(sources.database.InstanceUuid())},
          {Kernel::kLoggerResource, boost::make_shared<CHostLog>(sources)},
          {Kernel::kIdGeneratorResource, boost::make_shared<CIdGenerator>()},
          {Kernel::kDatabaseResource, boost::make_shared<CModuleDatabase>(sources)},
          {Kernel::kConfigurationResource, boost::make_shared<CConfiguration>()},
          {Kernel::kNetworkGrpcResource, boost::make_shared<CNetworkGrpc>()},
      } {}

boost::shared_ptr<Kernel::IResource> CLentResources::GetResource(int number) {
    const auto found = resources_.find(number);
    const bool given = found != resources_.end();
    events_(GivenLine("resource", number, given));
    return given ? found->second : nullptr;
}

}  // namespace Kyr::Lab::DevHost
