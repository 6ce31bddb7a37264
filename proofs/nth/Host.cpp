#include "proofs/nth/Host.h"

#include <algorithm>
#include <iterator>
#include <new>
#include <set>
#include <stdexcept>

#include <boost/make_shared.hpp>
#include <boost/thread/thread.hpp>

#include "connector/Subscriber.h"
#include "host/kernel/Resources.h"
#include "proofs/nth/Faults.h"

namespace Kyr::Proofs::Nth {

namespace {

using namespace Common::Kernel;
using Guard = boost::lock_guard<boost::mutex>;

constexpr int kMostRefusals = 15;  // a millisecond apart

// Kinds of a fault; others fail without an exception.
constexpr std::uint32_t kThrows = 0;
constexpr std::uint32_t kThrowsNoException = 1;

constexpr char kHostHasFailed[] = "the host has failed";
constexpr char kNoNumber[] = "bad lexical cast: source type value could not be interpreted";

/// What a line must say of a call that has not thrown, but given a wrong text or refused to keep.
/// Null: nothing, as it costs nothing. A wrong answer whether records are wanted is asked for again
/// with the next look; of a position that is not kept, the same records come again.
struct Saying {
    const char* what;
    const char* line;
};
constexpr Saying kSayings[] = {
    {"read XDR_ENABLED", nullptr},
    {"read XDR_HOST", nullptr},
    {"read OV_REMEDIATION_ENABLED", "OV rule actions flag is not a bool, disabling rule actions"},
    {"read XDR_OFFSET", kNoNumber},
    {"read XDR_TELEMETRY_OFFSET", kNoNumber},
    {"read OV_REMEDIATION_OFFSET", kNoNumber},
    {"write XDR_OFFSET", nullptr},
    {"write XDR_TELEMETRY_OFFSET", nullptr},
    {"write OV_REMEDIATION_OFFSET", nullptr},
    {"store actions", "OV Remediation: Failed to store with batch size: 3"},
    {"publish", "std::bad_alloc"},
};

/// Null: nothing.
const char* LineAbout(const std::string& what) {
    switch (StruckKind()) {
        case kThrows:
            return kHostHasFailed;
        case kThrowsNoException:
            return "failed with an unknown exception";
        default:
            return std::find_if(std::begin(kSayings), std::end(kSayings),
                                [&](const auto& saying) { return saying.what == what; })
                ->line;
    }
}

/// Throws what the kind of the armed fault says, when it is one that throws.
void ThrowIfItThrows() {
    switch (StruckKind()) {
        case kThrows:
            throw std::runtime_error(kHostHasFailed);
        case kThrowsNoException:
            throw 42;
        default:
            break;
    }
}

class CBus : public IBusResource {
  public:
    explicit CBus(CHost& host) : host_(host) {}
    void Publish(const boost::shared_ptr<IMessage>& message,
                 const boost::shared_ptr<IDeliveryContext>& context) override {
        host_.Publish(message, context);
    }
    void Subscribe(const boost::shared_ptr<ISubscriber>& subscriber, MessageType type) override {
        host_.Subscribe(subscriber, type);
    }

  private:
    CHost& host_;
};

class CLogger : public ILoggerResource {
  public:
    explicit CLogger(CHost& host) : host_(host) {}
    void Log(const std::string& text, int level, const std::string& /*source*/) override {
        host_.Log(text, level);
    }

  private:
    CHost& host_;
};

class CInstallation : public IInstallConfigurationResource {
  public:
    std::string GetInstanceUUID() const override {
        const CSurroundings surroundings;
        return kInstance;
    }
};

class CNumbers : public IIdGeneratorResource {
  public:
    std::uint32_t GenerateId() override { return ++last_; }

  private:
    std::uint32_t last_ = 0;
};

class CConfiguration : public IConfigurationResource {};

class CKeyValues : public Common::Database::IKeyValueAccessMapper {
  public:
    explicit CKeyValues(CHost& host) : host_(host) {}
    std::string GetValue(const std::string& key) override { return host_.Read(key); }
    bool SetValue(const std::string& key, const std::string& value) override {
        return host_.Write(key, value);
    }

  private:
    CHost& host_;
};

class CActions : public Common::Database::IOvRemediationActionsMapper {
  public:
    explicit CActions(CHost& host) : host_(host) {}
    bool StoreActions(const std::vector<std::string>& actions) override {
        return host_.Store(actions);
    }

  private:
    CHost& host_;
};

class CDatabase : public IDatabaseResource {
  public:
    explicit CDatabase(CHost& host)
        : values_(boost::make_shared<CKeyValues>(host)),
          actions_(boost::make_shared<CActions>(host)) {}
    boost::shared_ptr<Common::Database::IMapper> GetMapper(int number) override {
        if (number == Common::Database::kKeyValueAccessMapper) {
            return values_;
        }
        return actions_;
    }

  private:
    const boost::shared_ptr<Common::Database::IMapper> values_;
    const boost::shared_ptr<Common::Database::IMapper> actions_;
};

}  // namespace

CHost::CHost()
    : resources_{{kBusResource, boost::make_shared<CBus>(*this)},
                 {kInstallConfigurationResource, boost::make_shared<CInstallation>()},
                 {kLoggerResource, boost::make_shared<CLogger>(*this)},
                 {kIdGeneratorResource, boost::make_shared<CNumbers>()},
                 {kDatabaseResource, boost::make_shared<CDatabase>(*this)},
                 {kConfigurationResource, boost::make_shared<CConfiguration>()}},
      values_{{"XDR_ENABLED", "1"}, {"XDR_HOST", "here"}, {"OV_REMEDIATION_ENABLED", "1"}} {}

boost::shared_ptr<IResource> CHost::GetResource(int number) {
    const CSurroundings surroundings;
    const auto found = resources_.find(number);
    return found == resources_.end() ? nullptr : found->second;
}

void CHost::Deliver(const Message& message) {
    delivered_.push_back(message);
    // A bus keeps what a subscriber did not take. A fault that lasts is over some day.
    for (int refusals = 0;; ++refusals) {
        try {
            Route(message, {});
            return;
        } catch (...) {
            refused_ = true;
            if (refusals == kMostRefusals) {
                Disarm();
            }
            boost::this_thread::sleep_for(boost::chrono::milliseconds(1));
        }
    }
}

bool CHost::HasReplies() const {
    const Guard guard(mutex_);
    const auto found = subscribers_.find(MessageType::Response);
    return found != subscribers_.end() && !found->second->Dump().empty();
}

void CHost::ForgetSubscribers() {
    const Guard guard(mutex_);
    subscribers_.clear();
}

bool CHost::IsMessageHeld() const {
    return std::any_of(delivered_.begin(), delivered_.end(),
                       [](const auto& message) { return !message.expired(); });
}

std::vector<std::string> CHost::Lines(int level) const {
    const Guard guard(mutex_);
    std::vector<std::string> lines;
    for (const auto& line : lines_) {
        if (line.first >= level) {
            lines.push_back(std::to_string(line.first) + " " + line.second);
        }
    }
    return lines;
}

std::string CHost::Value(const std::string& key) const {
    const Guard guard(mutex_);
    const auto found = values_.find(key);
    return found == values_.end() ? std::string() : found->second;
}

bool CHost::WasConnected() const {
    const Guard guard(mutex_);
    return std::any_of(lines_.begin(), lines_.end(), [](const auto& line) {
        return line.second == "Connected to product, processing tasks";
    });
}

std::vector<std::string> CHost::OwedLines() const {
    const Guard guard(mutex_);
    return owedLines_;
}

void CHost::Fail(const std::string& what) {
    if (const char* const line = LineAbout(what)) {
        const Guard guard(mutex_);
        owedLines_.emplace_back(line);
    }
    ThrowIfItThrows();
}

void CHost::Publish(const Message& message, const boost::shared_ptr<IDeliveryContext>& context) {
    const bool strikes = Strikes(Place::kPublish);
    const CSurroundings surroundings;
    if (strikes) {
        Fail("publish");
        throw std::bad_alloc();
    }
    {
        const Guard guard(mutex_);
        told_.Enter(*message);
    }
    Route(message, context);
}

void CHost::Route(const Message& message, const boost::shared_ptr<IDeliveryContext>& context) {
    std::set<Subscriber> served;
    {
        const Guard guard(mutex_);
        const auto range = subscribers_.equal_range(message->GetMessageType());
        for (auto entry = range.first; entry != range.second; ++entry) {
            served.insert(entry->second);
        }
    }
    for (const Subscriber& subscriber : served) {
        const CModuleCall call;
        subscriber->Push(message, context);
    }
}

void CHost::Subscribe(const Subscriber& subscriber, MessageType type) {
    const CSurroundings surroundings;
    const Guard guard(mutex_);
    subscribers_.emplace(type, subscriber);
}

void CHost::Log(const std::string& text, int level) {
    const bool strikes = Strikes(Place::kLog);
    const CSurroundings surroundings;
    if (strikes) {
        ThrowIfItThrows();
        throw std::bad_alloc();
    }
    const Guard guard(mutex_);
    lines_.emplace_back(level, text);
}

std::string CHost::Read(const std::string& key) {
    const bool strikes = Strikes(Place::kStoreRead);
    const CSurroundings surroundings;
    if (strikes) {
        Fail("read " + key);
        return "no number";
    }
    return Value(key);
}

bool CHost::Write(const std::string& key, const std::string& value) {
    const bool strikes = Strikes(Place::kStoreWrite);
    const CSurroundings surroundings;
    if (strikes) {
        Fail("write " + key);
        return false;
    }
    const Guard guard(mutex_);
    values_[key] = value;
    return true;
}

bool CHost::Store(const std::vector<std::string>& actions) {
    const bool strikes = Strikes(Place::kStoreWrite);
    const CSurroundings surroundings;
    if (strikes) {
        Fail("store actions");
        return false;
    }
    const Guard guard(mutex_);
    told_.EnterActions(actions);
    return true;
}

}  // namespace Kyr::Proofs::Nth
