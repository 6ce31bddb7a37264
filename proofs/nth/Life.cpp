#include "proofs/nth/Life.h"

#include <algorithm>

#include <boost/make_shared.hpp>

#include "host/kernel/IMessage.h"
#include "host/module/Response.h"
#include "logs/OvAgentRequest.h"
#include "ntapi/Status.h"
#include "proofs/common/HostMessages.h"
#include "proofs/nth/Account.h"
#include "proofs/nth/NativeFaults.h"
#include "tests/support/product/FakeBuildReader.h"

namespace Kyr::Proofs::Nth {

namespace {

using namespace Connectors::OvAgentConnector;
using namespace Common::Message::Connectors::OvAgentConnector;
using Clock = std::chrono::steady_clock;
using Milliseconds = std::chrono::milliseconds;

constexpr int kWrongReplies = 2;  // in a life

// The host asks for one, and the first look of the watch.
constexpr int kStatusesOfABeginning = 2;

// Third identifiers, by which product and events name a task.
constexpr char kKill[] = "00000000-0000-0000-0000-000000000001";
constexpr char kBlock[] = "00000000-0000-0000-0000-000000000002";
constexpr char kExport[] = "00000000-0000-0000-0000-000000000003";
constexpr char kKillAgain[] = "00000000-0000-0000-0000-000000000004";
constexpr char kOutcome[] = "00000000-0000-0000-0000-000000000005";

// Our own choices: a lasting fault lasts so long behind its first stroke; what has not happened
// after that much real time will not happen.
constexpr Milliseconds kLasting(15);
constexpr Milliseconds kPatience(10000);

// What the module's threads may sleep. With a fault: far less than the hour after which the watch
// asks for everything again. Without: eleven seconds until the task thread is connected, and four
// looks of the watch, one that finds a change, two until it is due, one for what a bus refused.
constexpr std::chrono::minutes kWithFault(10);
constexpr std::chrono::seconds kBound(20);

// A change is found in the look behind it, and told two looks later; two more are for what the
// watch has begun by then.
constexpr std::uint64_t kLooksUntilLate = 5;

constexpr char kNoReply[] = "Bad cast to Kyr::Common::Module::CResponse";

/// What comes as a reply and is none; the module says so with a line.
class CNoReply : public Common::Kernel::IMessage {
  public:
    Common::Kernel::MessageType GetMessageType() const override {
        return Common::Kernel::MessageType::Reply;
    }
    std::string GetName() const override { return "NoReply"; }
    bool Equals(const Common::Kernel::IMessage& other) const override { return this == &other; }
};

template <typename Condition>
bool Await(Milliseconds patience, const Condition& condition) {
    const auto end = Clock::now() + patience;
    while (!condition()) {
        if (Clock::now() > end) {
            return false;
        }
        boost::this_thread::sleep_for(boost::chrono::microseconds(200));
    }
    return true;
}

bool Contains(const std::string& line, const char* text) {
    return line.find(text) != std::string::npos;
}

/// Runs a call into the module; false: it threw.
template <typename Call>
bool Calls(const Call& call) {
    try {
        const CModuleCall inTheModule;
        call();
        return true;
    } catch (...) {
        return false;
    }
}

}  // namespace

CLife::CLife(CProduct& product, boost::shared_ptr<CBoundedClock> clock)
    : product_(product), clock_(std::move(clock)), firstLook_(clock_->Looks()) {
    product_.BeginLife();
}

CLife::~CLife() = default;

CLife::Problems CLife::Run(Part part, const Fault& fault) {
    clock_->LetPass(kWithFault);
    const Fault atWork = part == Part::kWork ? fault : Fault{fault.place, 1, 0, 0};
    Arm(atWork);
    Begin();
    Work(atWork);
    if (part == Part::kWork) {
        Lift();
    }
    WorkAgain();
    clock_->LetPass(kBound);
    if (part == Part::kEnd) {
        Arm(fault);
    }
    End();
    if (part == Part::kEnd) {
        Lift();
    }
    ExpectAccount(fault);
    return problems_;
}

bool CLife::Load() {
    ModuleSystem system;
    system.clock = clock_;
    system.productBuild = boost::make_shared<Test::CFakeBuildReader>();
    system.makeChannel = [clock = clock_, ports = product_.OpenPorts()] {
        return boost::make_shared<COvAgentChannel>(0, 0, FaultyFunctions(ports), clock);
    };
    return Calls([&] {
        module_ = std::make_unique<Module>(system);
        module_->Initialize(host_);
    });
}

bool CLife::StartModule() {
    return Calls([this] { module_->Start(); });
}

// A host that meets an exception tries again, and for the last time when the fault is over.
void CLife::Begin() {
    while (!Load()) {
        hostWasTold_ = true;
        module_.reset();
        host_.ForgetSubscribers();
        Lift();
    }
    while (!StartModule()) {
        hostWasTold_ = true;
        Lift();
    }
}

void CLife::Work(const Fault& fault) {
    product_.AddOutcome(kOutcome);
    host_.Deliver(MakeKill(kKill));
    host_.Deliver(MakeBlock(kBlock));
    host_.Deliver(MakePolicy());
    host_.Deliver(MakeExport(kExport));
    host_.Deliver(MakeTrigger(kProtectionStatus));
    host_.Deliver(MakeTrigger(kTaskStatus));
    // Records and actions are the watch's to ask for.
    Await(kPatience, [this] {
        return Nth::HasStruck() ||
               (product_.Done(kKill) != 0 && product_.Done(kBlock) != 0 &&
                product_.HandedOut(kOutcome) != 0 && host_.Value("OV_REMEDIATION_OFFSET") == "3" &&
                host_.Ask([this](const CTold& told) {
                    return told.Statuses(product_.Status()) >= kStatusesOfABeginning;
                }));
    });
    ChangeStatus();
    host_.Deliver(boost::make_shared<Common::Module::CResponse>(1));
    host_.Deliver(boost::make_shared<CNoReply>());
    if (!Nth::HasStruck() && fault.uses != 0) {
        Await(Milliseconds(20), [] { return Nth::HasStruck(); });
    }
    if (Nth::HasStruck()) {
        boost::this_thread::sleep_for(boost::chrono::milliseconds(kLasting.count()));
        Expect("a port that does not work is named nowhere", [&] { return PortIsNamed(fault); });
    }
}

// Alone or twice, a call of the ports costs nothing: the client repeats it, or the core does and
// says so. Without a connection nothing is said before a minute of pings has passed. An exchange
// that took place and ends in a status that is no error is one on the older port.
bool CLife::PortIsNamed(const Fault& fault) const {
    const bool ofThePort =
        fault.place == Place::kNativeCall ||
        (fault.place == Place::kExchange && NtApi::IsError(Statuses()[fault.kind]));
    if (!ofThePort || fault.uses != kFromThenOn || !host_.WasConnected()) {
        return true;
    }
    const auto lines = host_.Lines(3);
    return std::any_of(lines.begin(), lines.end(), [](const std::string& line) {
        return Contains(line, "Send request failed with kelcomm error ") ||
               Contains(line, "Ping (CCCOMM_PING) failed with ") ||
               Contains(line, "KelcommChannelBuffer: Buffer is not full enough");
    });
}

void CLife::Lift() {
    struck_ = struck_ || Nth::HasStruck();
    changeCameLate_ = changeCameLate_ || IsChangeLate();
    Disarm();
}

bool CLife::IsChangeLate() const {
    return looks_ != 0 && clock_->Looks() >= looks_ + kLooksUntilLate &&
           host_.Ask([](const CTold& told) { return told.Triggers(kProtectionStatus); }) ==
               triggers_;
}

int CLife::TaskStatusesTold(const std::string& identifier) const {
    return host_.Ask([&](const CTold& told) {
        const CTold::Task task = told.TaskOf(identifier);
        return task.outcomes + task.givenUp;
    });
}

bool CLife::WasStatusTold() const {
    return host_.Ask([this](const CTold& told) { return told.Statuses(product_.Status()) != 0; });
}

std::ptrdiff_t CLife::WrongReplies() const {
    const auto lines = host_.Lines(3);
    return std::count_if(lines.begin(), lines.end(),
                         [](const std::string& line) { return Contains(line, kNoReply); });
}

template <typename Condition>
void CLife::Expect(const char* what, const Condition& condition) {
    if (!Await(kPatience, condition)) {
        problems_.emplace_back(what);
    }
}

void CLife::ChangeStatus() {
    host_.Ask([this](const CTold& told) {
        connections_ = told.Connections();
        triggers_ = told.Triggers(kProtectionStatus);
    });
    looks_ = clock_->Looks();
    product_.ChangeStatus();
}

void CLife::WorkAgain() {
    clock_->LetPass(kBound);
    host_.Deliver(MakeKill(kKillAgain));
    host_.Deliver(MakeTrigger(kTaskStatus));
    host_.Deliver(boost::make_shared<Common::Module::CResponse>(2));
    Expect("a task after the fault was not done",
           [this] { return product_.Done(kKillAgain) != 0; });
    Expect("a kill was lost",
           [this] { return product_.Done(kKill) + TaskStatusesTold(kKill) != 0; });
    Expect("a block was lost",
           [this] { return product_.Done(kBlock) + TaskStatusesTold(kBlock) != 0; });
    Expect("a policy was lost", [this] { return product_.Policies() != 0; });
    Expect("a configuration was lost", [this] { return TaskStatusesTold(kExport) != 0; });
    const char* const offsets[] = {"XDR_OFFSET", "XDR_TELEMETRY_OFFSET", "OV_REMEDIATION_OFFSET"};
    for (const char* const offset : offsets) {
        Expect("records were not fetched", [&] { return host_.Value(offset) == "3"; });
    }
    // With the one before it, that one has been asked for.
    Expect("an outcome after the fault was not told",
           [this] { return TaskStatusesTold(kKillAgain) != 0; });
    Expect("replies wait for a thread", [this] { return !host_.HasReplies(); });
    const auto wrongReplies = WrongReplies();
    host_.Deliver(boost::make_shared<CNoReply>());
    Expect("a reply after the fault was not looked at",
           [&] { return WrongReplies() > wrongReplies; });
    // What a watch has noted goes with its connection.
    Expect("a change of the status was not told", [this] {
        return WasStatusTold() ||
               host_.Ask([this](const CTold& told) { return told.Connections() != connections_; });
    });
    ChangeStatus();
    clock_->LetPass(kBound);
    Expect("a change of the status after the fault was not told",
           [this] { return WasStatusTold(); });
}

void CLife::End() {
    Calls([this] { module_->RequestStop(); });
    const bool stopped = Await(kPatience, [this] {
        bool ended = false;
        return Calls([&] { ended = module_->Stop(false); }) && ended;
    });
    if (!stopped) {
        problems_.emplace_back("it did not stop");
    }
    {
        const CModuleCall inTheModule;
        module_.reset();
    }
    host_.ForgetSubscribers();
    if (host_.IsMessageHeld()) {
        problems_.emplace_back("somebody holds a message");
    }
}

Effects CLife::WhatWasSeen() const {
    Effects seen;
    seen.replyWasOverheard = product_.Overheard() != 0;
    seen.taskWasGivenUp = product_.Done(kKill) == 0 || product_.Done(kBlock) == 0;
    seen.changeCameLate = changeCameLate_;
    host_.Ask([&](const CTold& told) {
        seen.taskHasFailed = told.HasTaskFailed();
        seen.connectionWasLost = told.Connections() > 1 || told.Unconnected() != 0;
        const int looks = static_cast<int>(clock_->Looks() - firstLook_);
        for (const int kind : {kEcsIndicatorLogs, kEcsTelemetryLogs, kRemediationActions}) {
            seen.lookWasMissed = seen.lookWasMissed || told.Triggers(kind) < looks;
        }
    });
    return seen;
}

void CLife::ExpectAccount(const Fault& fault) {
    const Fault seen{fault.place, fault.nth, struck_ ? fault.uses : 0, fault.kind};
    const auto enter = [this](const std::vector<std::string>& problems) {
        problems_.insert(problems_.end(), problems.begin(), problems.end());
    };
    host_.Ask([&](const CTold& told) {
        enter(Judge({kOutcome, kExport, kKillAgain, {kKill, kBlock}}, seen, told, product_));
    });
    Dues dues;
    dues.lines = host_.OwedLines();
    dues.threadIsMissing = fault.place == Place::kThread && !hostWasTold_ && !host_.WasRefused();
    dues.wrongReplies = kWrongReplies;
    const Effects effects = WhatWasSeen();
    if (!struck_ && effects.Any() && product_.Overheard() == 0) {
        problems_.emplace_back("something failed without a fault");
    }
    enter(JudgeLines(seen, effects, dues, host_.Lines(3)));
}

}  // namespace Kyr::Proofs::Nth
