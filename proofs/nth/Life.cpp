#include "proofs/nth/Life.h"

#include <algorithm>
#include <set>

#include <boost/make_shared.hpp>

#include "host/module/Response.h"
#include "logs/OvAgentRequest.h"
#include "ntapi/Status.h"
#include "proofs/common/HostMessages.h"
#include "proofs/nth/NativeFaults.h"
#include "tests/support/product/FakeBuildReader.h"

namespace Kyr::Proofs::Nth {

namespace {

using namespace Connectors::OvAgentConnector;
using namespace Common::Message::Connectors::OvAgentConnector;
using Clock = std::chrono::steady_clock;
using Milliseconds = std::chrono::milliseconds;

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
    : product_(product), clock_(std::move(clock)) {
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
    WorkAgain(fault);
    clock_->LetPass(kBound);
    if (part == Part::kEnd) {
        Arm(fault);
    }
    End();
    if (part == Part::kEnd) {
        Lift();
    }
    ExpectAccount();
    ExpectLines(fault);
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
                host_.Told(product_.Status()) >= kStatusesOfABeginning);
    });
    ChangeStatus();
    host_.Deliver(boost::make_shared<Common::Module::CResponse>(1));
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
    Disarm();
}

template <typename Condition>
void CLife::Expect(const char* what, const Condition& condition) {
    if (!Await(kPatience, condition)) {
        problems_.emplace_back(what);
    }
}

void CLife::ChangeStatus() {
    connections_ = host_.Connections();
    product_.ChangeStatus();
}

void CLife::WorkAgain(const Fault& fault) {
    clock_->LetPass(kBound);
    host_.Deliver(MakeKill(kKillAgain));
    host_.Deliver(MakeTrigger(kTaskStatus));
    host_.Deliver(boost::make_shared<Common::Module::CResponse>(2));
    Expect("a task after the fault was not done",
           [this] { return product_.Done(kKillAgain) != 0; });
    Expect("a kill was lost", [this] { return product_.Done(kKill) + host_.Told(kKill) != 0; });
    Expect("a block was lost", [this] { return product_.Done(kBlock) + host_.Told(kBlock) != 0; });
    Expect("a policy was lost", [this] { return product_.Policies() != 0; });
    Expect("a configuration was lost", [this] { return host_.Told(kExport) != 0; });
    const char* const offsets[] = {"XDR_OFFSET", "XDR_TELEMETRY_OFFSET", "OV_REMEDIATION_OFFSET"};
    for (const char* const offset : offsets) {
        Expect("records were not fetched", [&] { return host_.Value(offset) == "3"; });
    }
    // With the one before it, that one has been asked for.
    Expect("an outcome after the fault was not told",
           [this] { return host_.Told(kKillAgain) != 0; });
    if (host_.Told(kOutcome) == 0 &&
        !(fault.place == Place::kExchange && product_.HandedOut(kOutcome) == 1)) {
        problems_.emplace_back("an outcome was not told");
    }
    Expect("replies wait for a thread", [this] { return !host_.HasReplies(); });
    const auto statusWasTold = [this] { return host_.Told(product_.Status()) != 0; };
    // What a watch has noted goes with its connection.
    Expect("a change of the status was not told",
           [&] { return statusWasTold() || host_.Connections() != connections_; });
    ChangeStatus();
    clock_->LetPass(kBound);
    Expect("a change of the status after the fault was not told", statusWasTold);
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

void CLife::ExpectAccount() {
    // As the product has them; of actions their serialization: the type 3, and a text of 7 bytes.
    static const std::set<std::string> all[kRecordKinds] = {
        {"indicator1", "indicator2", "indicator3"},
        {"telemetry1", "telemetry2", "telemetry3"},
        {"\x08\x03\x12\x07"
         "action1",
         "\x08\x03\x12\x07"
         "action2",
         "\x08\x03\x12\x07"
         "action3"}};
    for (int kind = 0; kind < kRecordKinds; ++kind) {
        const auto records = host_.Records(kind);
        if (std::set<std::string>(records.begin(), records.end()) != all[kind]) {
            problems_.emplace_back("records were lost, or are others");
        }
    }
}

// The log's own failure, and allocations, which a line needs, too, are named by nobody.
void CLife::ExpectLines(const Fault& fault) {
    if (!struck_ || fault.place == Place::kLog || fault.place == Place::kAllocation) {
        return;
    }
    const auto lines = host_.Lines(3);
    const auto count = [&lines](const std::string& text) {
        return std::count_if(lines.begin(), lines.end(),
                             [&](const std::string& line) { return Contains(line, text.c_str()); });
    };
    const auto owed = host_.OwedLines();
    for (const std::string& text : std::set<std::string>(owed.begin(), owed.end())) {
        // A task and the event of its failure may meet the same want of memory: one line, then.
        const auto needed =
            text == "std::bad_alloc" ? 1 : std::count(owed.begin(), owed.end(), text);
        if (count(text) < needed) {
            problems_.push_back("too few lines say: " + text);
        }
    }
    const bool taskWasGivenUp = product_.Done(kKill) == 0 || product_.Done(kBlock) == 0;
    if (taskWasGivenUp && count("Message task was canceled because ") == 0) {
        problems_.emplace_back("no line says that a task was given up");
    }
    if (fault.place == Place::kThread && !hostWasTold_ && !host_.WasRefused() &&
        count("boost::thread_resource_error") == 0) {
        problems_.emplace_back("no line says that there is no thread");
    }
}

}  // namespace Kyr::Proofs::Nth
