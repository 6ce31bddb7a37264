#include "tests/endurance/FaultyProduct.h"

#include "lab/common/CommandWords.h"
#include "lab/simproduct/commands/AgentUuidCommand.h"
#include "lab/simproduct/commands/StatusCommands.h"
#include "lab/simproduct/commands/TransferCommands.h"
#include "lab/simproduct/commands/XmlCommands.h"
#include "lab/simproduct/processes/TaskBook.h"

namespace Kyr::Endurance {

namespace {

using namespace Lab;
using namespace Lab::SimProduct;

const char* const kFaults[] = {
    "status 1",       "status 5",     "status 14",        "status 2",
    "code 1",         "code 9",       "short 0",          "short 11",
    "header-size 13", "value 7",      "oversized 70000",  "oversized 300000",
    "bad-length",     "bad-length 0", "delay 1",          "drop",
    "view-missing",   "view-small",   "drop command=any", "code 3 command=any"};

constexpr AreaField kFields[] = {
    AreaField::kHeaderSize, AreaField::kVersion,     AreaField::kDataOffset, AreaField::kDataSize,
    AreaField::kModuleId,   AreaField::kModuleCount, AreaField::kUserSize,   AreaField::kUserOffset,
    AreaField::kTimestamp,  AreaField::kFirstModule};
constexpr std::uint32_t kLies[] = {0,          1,          7,          31,        1017,
                                   0x7FFFFFFF, 0x80000000, 0xFFFFFFFC, 0xFFFFFFFF};

template <std::size_t Size, typename Value>
const Value& Pick(Random& random, const Value (&values)[Size]) {
    return values[random() % Size];
}

}  // namespace

struct CFaultyProduct::Running {
    Running(IProcessLauncher& launcher, CMisbehaviours& misbehaviours, const LineSink& sink)
        : processes(launcher, sink),
          protection(configuration),
          tasks(processes, results, sink),
          commands({XmlCommands(tasks), AgentUuidCommands(sink),
                    StatusCommands(protection, results, sink),
                    TransferCommands(configuration, sink)}),
          desk(commands, misbehaviours, Base::SystemClock(), sink, {false, [] {}}),
          alpc([this](const PortRequest& request) { return desk.Answer(request); }, sink),
          lpc([this](const PortRequest& request) { return desk.Answer(request); }, sink) {
        area.Open();
        alpc.Open();
        lpc.Open();
    }
    ~Running() { desk.Stop(); }
    Running(const Running&) = delete;
    Running& operator=(const Running&) = delete;

    CLabProcesses processes;
    CTaskResults results;
    CConfiguration configuration;
    CProtection protection;
    CTaskBook tasks;
    const CInnerCommands commands;
    CRequestDesk desk;
    CAlpcServer alpc;
    CLpcServer lpc;
    CBroadcastArea area;
};

CFaultyProduct::CFaultyProduct(CTaskLedger& ledger)
    : ledger_(ledger), launcher_(MakeSystemLauncher()) {}

CFaultyProduct::~CFaultyProduct() = default;

void CFaultyProduct::Restart() {
    End();
    misbehaviours_.Clear();
    const auto sink = [this](const CLine& line) {
        const std::string* const userData = line.Find("userdata");
        if (line.Kind() == "did" && userData != nullptr) {
            const std::string identifier = userData->substr(userData->rfind(';') + 1);
            if (*line.Find("action") == "task-result") {
                ledger_.HandedOut(identifier);
            } else {
                ledger_.Reached(identifier);
            }
        }
    };
    running_ = std::make_unique<Running>(*launcher_, misbehaviours_, sink);
}

void CFaultyProduct::End() {
    running_.reset();
}

void CFaultyProduct::MisbehaveOnce(Random& random, bool hang) {
    const std::string fault = hang ? "hang" : Pick(random, kFaults);
    misbehaviours_.Add(ParseMisbehaviour(SplitWords(fault + " for=1")));
}

void CFaultyProduct::ChangeArea(Random& random) {
    if (!IsThere()) {
        return;
    }
    CBroadcastArea& area = running_->area;
    switch (random() % 5) {
        case 0:
            area.SetValue(random() % CAreaImage::kValues, static_cast<std::uint32_t>(random()));
            break;
        case 1:
            area.MovePlugIn(random() % CAreaImage::kModules);
            break;
        case 2:
            area.Write(Pick(random, kFields), Pick(random, kLies));
            break;
        case 3:
            area.Abandon();
            break;
        default:
            area.Restore();
    }
}

void CFaultyProduct::CloseAPort(Random& random) {
    if (IsThere()) {
        (random() % 2 == 0 ? static_cast<IPort&>(running_->alpc) : running_->lpc).Close();
    }
}

}  // namespace Kyr::Endurance
