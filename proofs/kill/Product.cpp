#include "proofs/kill/Product.h"

#include <algorithm>
#include <memory>
#include <unistd.h>

#include <boost/thread/thread.hpp>

#include "lab/simproduct/SimulatedProduct.h"
#include "lab/simproduct/area/NamedMemory.h"
#include "proofs/kill/Journal.h"
#include "proofs/kill/Scenario.h"

namespace Kyr::Proofs::Kill {

namespace {

using namespace Lab;
using namespace Lab::SimProduct;
using Clock = std::chrono::steady_clock;

// Broadcast values that hosts look at (protocol), and by how much lives differ there.
constexpr std::uint32_t kStatusValue = 2;
constexpr std::uint32_t kOutcomeValue = 8;
constexpr std::uint32_t kLife = 10000;

class CProduct {
  public:
    CProduct(Fate& fate, const ProductOptions& options)
        : fate_(fate),
          options_(options),
          journal_(options.journal),
          launcher_(MakeSystemLauncher()),
          product_(*launcher_, misbehaviours_, options.records, {false, [] {}},
                   [this](const CLine& line) { Note(line); }) {
        product_.records.SetLimit({kBatch, BatchLimit().bytes});
    }

    void Run() {
        ReadJournal();
        const COnlyProduct onlyProduct(OwnProcessId());
        product_.area.Open();
        product_.area.SetValue(kStatusValue, lives_);
        Announce();
        if (options_.advancedPort) {
            product_.alpc->Open();
        }
        product_.lpc->Open();
        Note(CLine("ready"));
        while (!fate_.stop) {
            const bool again =
                Clock::now() - announced_ > options_.announcing && !product_.results.List().empty();
            if (isNew_.exchange(false) || again) {
                Announce();
            }
            Pause(fate_);
        }
    }

  private:
    void Announce() {
        product_.area.SetValue(kOutcomeValue, lives_ * kLife + ++announcements_);
        announced_ = Clock::now();
    }

    void ReadJournal() {
        std::vector<TaskResult> waiting;
        for (const CLine& line : journal_.ReadNew()) {
            const std::string action = line.Value("action");
            const std::string userData = line.Value("userdata");
            if (action == "kill" || action == "block") {
                const bool isDone = line.Value("outcome") == NameOf(TaskState::kDone);
                waiting.push_back({isDone ? kTaskDone : kTaskFailed, userData});
            } else if (action == "task-result") {
                const auto same = [&](const TaskResult& one) { return one.userData == userData; };
                waiting.erase(std::find_if(waiting.begin(), waiting.end(), same));
            }
            lives_ += line.Kind() == "ready" ? 1 : 0;
        }
        for (const TaskResult& result : waiting) {
            product_.results.Add(result);
        }
    }

    // On the threads of the ports.
    void Note(CLine line) {
        if (line.Kind() == "native") {
            return;
        }
        const std::string action = line.Value("action");
        if (action == "import") {
            line.With("text", product_.configuration.Text());
        }
        const CCall making(line.Kind() == "did" ? "store" : "log");
        journal_.Append(line);
        if (action == "kill" || action == "block") {
            isNew_ = true;
        }
    }

    Fate& fate_;
    const ProductOptions& options_;
    CJournal journal_;
    std::uint32_t lives_ = 1;
    std::uint32_t announcements_ = 0;
    Clock::time_point announced_;
    std::atomic<bool> isNew_{false};
    const std::unique_ptr<IProcessLauncher> launcher_;
    CMisbehaviours misbehaviours_;  // none
    SimulatedProduct product_;
};

}  // namespace

void RunProduct(Fate& fate, const ProductOptions& options) {
    BeginLife(fate);
    {
        CProduct product(fate, options);
        product.Run();
    }
    ::_exit(0);
}

}  // namespace Kyr::Proofs::Kill
