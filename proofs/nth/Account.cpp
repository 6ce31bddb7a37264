#include "proofs/nth/Account.h"

#include <algorithm>
#include <set>

namespace Kyr::Proofs::Nth {

namespace {

// The policy's, which the product has been given before it is asked.
constexpr char kConfiguration[] = "ab";

class CJudge {
  public:
    CJudge(const Fault& fault, const CTold& told, const CProduct& product)
        : fault_(fault), told_(told), product_(product) {}

    void JudgeRecords() {
        // As the product has them; of actions their serialization: the type 3, and a text of 7
        // bytes.
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
            const auto& records = told_.Records(kind);
            Expect(std::set<std::string>(records.begin(), records.end()) == all[kind],
                   "records were lost, or are others");
            Expect(
                fault_.uses != 0 || product_.Overheard() != 0 || records.size() == all[kind].size(),
                "records came twice without a fault");
        }
    }

    void JudgeTask(const std::string& identifier, bool wasBefore) {
        const CTold::Task task = told_.TaskOf(identifier);
        const int done = product_.Done(identifier);
        Expect(done != 0 || task.givenUp != 0 || EventsFail(), "a task was lost");
        JudgeAttempts(task);
        if (wasBefore) {
            JudgeOutcomes(identifier);
            Expect(product_.HandedOut(identifier) == done, "an outcome was not asked for");
        }
        Expect(fault_.uses != 0 || done <= 1 + product_.Overheard(),
               "a task was done twice without a fault");
    }

    void JudgeOutcomes(const std::string& identifier) {
        const int handedOut = product_.HandedOut(identifier);
        const int told = told_.TaskOf(identifier).outcomes;
        Expect(told <= handedOut, "an outcome was told that was not handed out");
        const int lost = fault_.place == Place::kExchange && fault_.uses != 0 ? handedOut : 0;
        Expect(told + lost >= handedOut, "an outcome was not told");
    }

    // An answer to a task of the product's, which goes to whoever has asked before it, may follow:
    // behind an export it is one more configuration, an empty one, and the export is done again.
    void JudgeExport(const std::string& identifier) {
        const CTold::Task task = told_.TaskOf(identifier);
        Expect(task.outcomes != 0 || task.givenUp != 0 || EventsFail(), "a configuration was lost");
        JudgeAttempts(task);
        const auto& told = told_.Configurations();
        Expect(std::all_of(
                   told.begin(), told.end(),
                   [](const std::string& one) { return one.empty() || one == kConfiguration; }),
               "a configuration is another than the product's");
        Expect(task.givenUp != 0 || std::count(told.begin(), told.end(), kConfiguration) != 0,
               "an export was done without the configuration");
    }

    std::vector<std::string> Problems() const { return problems_; }

  private:
    /// An event that the bus refuses costs a line and is not made again.
    bool EventsFail() const { return fault_.place == Place::kPublish && fault_.uses > 1; }

    void JudgeAttempts(const CTold::Task& task) {
        Expect(task.givenUp <= 1, "a task was given up twice");
        const int overheard = product_.Overheard();
        Expect(task.givenUp == 0 || fault_.uses > 1 || overheard != 0,
               "a task was given up at a single failure");
        Expect(task.failures <= overheard || fault_.uses != 0, "a task failed without a fault");
        Expect(task.failures <= 2, "a task was tried more than twice");
    }

    void Expect(bool holds, const char* otherwise) {
        if (!holds) {
            problems_.emplace_back(otherwise);
        }
    }

    const Fault& fault_;
    const CTold& told_;
    const CProduct& product_;
    std::vector<std::string> problems_;
};

}  // namespace

std::vector<std::string> Judge(const LifeTasks& tasks, const Fault& fault, const CTold& told,
                               const CProduct& product) {
    CJudge judge(fault, told, product);
    judge.JudgeRecords();
    for (const std::string& identifier : tasks.ofBefore) {
        judge.JudgeTask(identifier, true);
    }
    judge.JudgeTask(tasks.last, false);
    judge.JudgeOutcomes(tasks.outcome);
    judge.JudgeExport(tasks.exported);
    auto problems = judge.Problems();
    problems.insert(problems.end(), told.Problems().begin(), told.Problems().end());
    return problems;
}

}  // namespace Kyr::Proofs::Nth
