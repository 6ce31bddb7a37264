#include "proofs/nth/Product.h"

#include <boost/thread/lock_guard.hpp>

#include "lab/simproduct/SimulatedProduct.h"

namespace Kyr::Proofs::Nth {

using namespace Lab;
using namespace Lab::SimProduct;
using Guard = boost::lock_guard<boost::mutex>;

struct CProduct::Running {
    Running(IProcessLauncher& launcher, const LineSink& sink)
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
        product.alpc.Open();
        product.lpc.Open();
    }

    CMisbehaviours misbehaviours;  // none
    SimulatedProduct product;
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
    while (running_->product.results.Take()) {
    }
    const Guard guard(mutex_);
    done_.clear();
    handedOut_.clear();
    policies_ = 0;
}

void CProduct::ChangeStatus() {
    CBroadcastArea& area = running_->product.area;
    area.SetValue(2, area.Value(2) + 1);
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
