// One short life of the real module in a host and with a product that are in this process: the
// calls of a scenario, each held to its bound, and the account at the end.
//
// Threads: those that the scheduler runs. Errors: what is found wrong is reported to the scheduler.
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include <boost/thread/thread.hpp>

#include "module/OvAgentConnectorModule.h"
#include "proofs/schedules/Host.h"
#include "tests/support/product/FakeKelcommClient.h"

namespace Kyr::Proofs::Schedules {

/// What the product does.
struct Product {
    std::chrono::milliseconds takes{0};  // for an exchange
    bool answers = true;                 // pings
    int refusals = 0;                    // of tasks, before it carries one out
    bool isSilent = false;               // never answers a task
};

class CLife {
  public:
    using Milliseconds = std::chrono::milliseconds;

    explicit CLife(const Product& product);
    ~CLife();
    CLife(const CLife&) = delete;
    CLife& operator=(const CLife&) = delete;

    // The host's calls; each may take so long at most while nobody could go on.
    void Start();
    void RequestStop(Milliseconds bound);
    bool Stop(bool force, Milliseconds bound);
    /// Stop(false) until it is done, a tenth of a second apart, within a second and the bound.
    void StopWhenIdle(Milliseconds bound);
    void Destroy(Milliseconds bound);

    /// The task of that number, 0 to 9.
    void DeliverTask(int number);
    void DeliverReply();
    /// A call into the module by another thread of the host, which is joined at the end.
    void OnAnotherThread(std::function<void()> action);
    void InterruptOtherThreads();
    void JoinOtherThreads();
    void Sleep(Milliseconds duration);
    /// Looks each second; what never comes makes a schedule that does not come to an end.
    template <typename Condition>
    void Await(const Condition& condition) {
        while (!condition()) {
            Sleep(std::chrono::seconds(1));
        }
    }
    bool IsDone(int number) const { return done_.count(number) != 0; }
    /// Lets the product show another status, and that there are outcomes.
    void ChangeStatus();
    void SetProductAnswers(bool answers);

    CHost host;

  private:
    using Module = Connectors::OvAgentConnector::COvAgentConnectorModule;

    Test::KelcommScript::Answer Serve(const Test::KelcommScript::Request& request);
    void Expect(bool holds, const std::string& problem) const;
    template <typename Call>
    bool Within(const char* name, Milliseconds bound, const Call& call);
    void ExpectNobodyLeft();
    void ExpectTasksAccountedFor();

    Product product_;
    const boost::shared_ptr<Test::KelcommScript> script_;
    std::unique_ptr<Module> module_;
    std::vector<std::unique_ptr<boost::thread>> threads_;
    std::map<int, CHost::Message> tasks_;
    std::map<int, int> done_;
    std::map<int, int> refused_;
    std::int32_t status_ = 0;
};

}  // namespace Kyr::Proofs::Schedules
