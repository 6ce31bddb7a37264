#include "proofs/nth/Product.h"

#include <boost/thread/lock_guard.hpp>

#include "lab/simproduct/SimulatedProduct.h"

namespace Kyr::Proofs::Nth {

using namespace Lab;
using namespace Lab::SimProduct;
using Guard = boost::lock_guard<boost::mutex>;

namespace {

constexpr std::uint32_t kStatusValue = 2;  // among the broadcast values
constexpr std::uint32_t kProblem = 1;      // a component's status that is told
constexpr char kTaskRequest[] = "xml";
constexpr char kStatusRequest[] = "status";
constexpr char kPolicyLength[] = "2";                    // of "ab"
constexpr std::uint64_t kStatuses = 0x0710000000001000;  // no others begin so

}  // namespace

struct CProduct::Running {
    Running(IProcessLauncher& launcher, const LineSink& sink, Ports ports)
        : product(launcher, misbehaviours, "", {false, [] {}}, sink) {
        for (const RecordKind kind : kRecordKinds) {
            for (int record = 0; record < kRecords; ++record) {
                product.records.Append(kind, [kind](std::uint64_t number) {
                    const std::string text = std::string(NameOf(kind)) + std::to_string(number);
                    return ProductRecord{text, kBlockAction};
                });
            }
        }
        product.area.Open();
        SetStatus(1);
        if (ports == Ports::kBoth) {
            product.alpc->Open();
        }
        product.lpc->Open();
    }

    void SetStatus(std::uint32_t number) {
        Component files;
        files.name = "files";
        files.status = kProblem;
        files.statusText = kStatuses + number;
        product.protection.Set(files);
        product.area.SetValue(kStatusValue, number);
    }

    CMisbehaviours misbehaviours;  // none
    SimulatedProduct product;
};

CProduct::CProduct() : launcher_(MakeSystemLauncher()) {
    Restart(Ports::kBoth);
}

CProduct::~CProduct() = default;

void CProduct::Restart(Ports ports) {
    ports_ = ports;
    running_.reset();
    running_ = std::make_unique<Running>(
        *launcher_, [this](const CLine& line) { Note(line); }, ports);
}

void CProduct::BeginLife() {
    while (running_->product.results.Take()) {
    }
    const Guard guard(mutex_);
    done_.clear();
    handedOut_.clear();
    policies_ = 0;
    overheard_ = 0;
}

void CProduct::ChangeStatus() {
    running_->SetStatus(running_->product.area.Value(kStatusValue) + 1);
}

std::uint64_t CProduct::Status() const {
    return kStatuses + running_->product.area.Value(kStatusValue);
}

void CProduct::AddOutcome(const std::string& identifier) {
    running_->product.results.Add({kTaskDone, identifier + ";" + identifier + ";" + identifier});
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

int CProduct::Overheard() const {
    const Guard guard(mutex_);
    return overheard_;
}

void CProduct::Note(const CLine& line) {
    if (line.Kind() == "request") {
        const Guard guard(mutex_);
        const std::string name = line.Value("name");
        overheard_ += name == kTaskRequest && receiver_ == kStatusRequest ? 1 : 0;
        receiver_ = name.empty() || name == kTaskRequest ? receiver_ : name;
    }
    if (line.Kind() != "did") {
        return;
    }
    const Guard guard(mutex_);
    if (*line.Find("action") == "import" && *line.Find("length") == kPolicyLength) {
        ++policies_;
    }
    if (const std::string* const userData = line.Find("userdata")) {
        const std::string identifier = userData->substr(userData->rfind(';') + 1);
        ++(*line.Find("action") == "task-result" ? handedOut_ : done_)[identifier];
    }
}

}  // namespace Kyr::Proofs::Nth
