#include "proofs/nth/Product.h"

#include <boost/thread/lock_guard.hpp>

#include "lab/simproduct/area/BroadcastArea.h"
#include "lab/simproduct/commands/AgentUuidCommand.h"
#include "lab/simproduct/commands/RecordCommands.h"
#include "lab/simproduct/commands/StatusCommands.h"
#include "lab/simproduct/commands/TransferCommands.h"
#include "lab/simproduct/commands/XmlCommands.h"
#include "lab/simproduct/desk/RequestDesk.h"
#include "lab/simproduct/ports/AlpcServer.h"
#include "lab/simproduct/ports/LpcServer.h"
#include "lab/simproduct/records/RecordLists.h"

namespace Kyr::Proofs::Nth {

using namespace Lab;
using namespace Lab::SimProduct;
using Guard = boost::lock_guard<boost::mutex>;

struct CProduct::Running {
    Running(IProcessLauncher& launcher, const LineSink& sink)
        : processes(launcher, sink),
          protection(configuration),
          tasks(processes, results, sink),
          commands({XmlCommands(tasks), AgentUuidCommands(sink),
                    StatusCommands(protection, results, sink),
                    TransferCommands(configuration, sink), RecordCommands(records, sink)}),
          desk(commands, misbehaviours, Base::SystemClock(), sink, {false, [] {}}),
          alpc([this](const PortRequest& request) { return desk.Answer(request); }, sink),
          lpc([this](const PortRequest& request) { return desk.Answer(request); }, sink) {
        for (const RecordKind kind : kRecordKinds) {
            for (int record = 0; record < kRecords; ++record) {
                records.Append(kind, [kind](std::uint64_t number) {
                    const std::string text = std::string(NameOf(kind)) + std::to_string(number);
                    return ProductRecord{text, kBlockAction};
                });
            }
        }
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
    CRecordLists records;
    CMisbehaviours misbehaviours;
    const CInnerCommands commands;
    CRequestDesk desk;
    CAlpcServer alpc;
    CLpcServer lpc;
    CBroadcastArea area;
};

CProduct::CProduct() : launcher_(MakeSystemLauncher()) {
    Restart();
}

CProduct::~CProduct() = default;

void CProduct::Restart() {
    running_.reset();
    running_ = std::make_unique<Running>(*launcher_, [this](const CLine& line) { Note(line); });
}

void CProduct::BeginLife() {
    while (running_->results.Take()) {
    }
    const Guard guard(mutex_);
    done_.clear();
    handedOut_.clear();
    policies_ = 0;
}

void CProduct::ChangeStatus() {
    running_->area.SetValue(2, running_->area.Value(2) + 1);
}

void CProduct::AddOutcome(const std::string& identifier) {
    running_->results.Add({kTaskDone, identifier + ";" + identifier + ";" + identifier});
}

int CProduct::Done(const std::string& identifier) const {
    const Guard guard(mutex_);
    const auto found = done_.find(identifier);
    return found == done_.end() ? 0 : found->second;
}

int CProduct::HandedOut(const std::string& identifier) const {
    const Guard guard(mutex_);
    const auto found = handedOut_.find(identifier);
    return found == handedOut_.end() ? 0 : found->second;
}

int CProduct::Policies() const {
    const Guard guard(mutex_);
    return policies_;
}

void CProduct::Note(const CLine& line) {
    if (line.Kind() != "did") {
        return;
    }
    const Guard guard(mutex_);
    if (*line.Find("action") == "import") {
        ++policies_;
    }
    if (const std::string* const userData = line.Find("userdata")) {
        const std::string identifier = userData->substr(userData->rfind(';') + 1);
        ++(*line.Find("action") == "task-result" ? handedOut_ : done_)[identifier];
    }
}

}  // namespace Kyr::Proofs::Nth
