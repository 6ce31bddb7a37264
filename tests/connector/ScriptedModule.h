// A connector module whose product does what the test says: the n-th connection attempt (Connect or
// the Connect of a reconnection) runs the n-th action, every later one the last; without actions
// they succeed.
//
// Every product operation is recorded by name, in order. Threads: scripted by one thread before
// Start; observed from any.
#pragma once

#include <atomic>
#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "connector/ConnectorModule.h"
#include "tests/support/Guarded.h"

namespace Kyr::Test {

class CScriptedModule final : public Connectors::Common::CConnectorModule {
  public:
    static constexpr char kName[] = "ScriptedModule";
    static constexpr std::uint64_t kProductId = 0x07100000000007AA;

    explicit CScriptedModule(boost::shared_ptr<Base::IClock> clock);
    /// Ends the threads, as every concrete module must.
    ~CScriptedModule() override;

    CScriptedModule& ThenConnectBy(std::function<bool()> action);
    CScriptedModule& ThenConnect(bool result);
    void OnDisconnect(std::function<void()> action);
    void SetInstalled(bool installed) { installed_ = installed; }

    /// What CreateTasks appends.
    TaskList tasks;
    /// How many tasks the list had when CreateTasks was called; -1 before.
    int tasksBefore = -1;

    /// "Connect", "Disconnect", "Reconnect" and "Interrupt" in the order of the calls.
    std::vector<std::string> Calls() const { return calls_.Get(); }
    bool AwaitCalls(const std::string& name, std::size_t count) const;

    std::string GetName() const override { return kName; }
    std::uint64_t GetProductId() const override { return kProductId; }

    using CConnectorModule::GetReplyProcessor;
    using CConnectorModule::IsActive;
    using CConnectorModule::PublishDeactivatedStatus;
    using CConnectorModule::reconnectDelayMs;
    using CConnectorModule::SubscribeMessages;

    bool IsProductInstalled() override { return installed_; }
    void CreateTasks(TaskList& list) override;
    bool Connect() override;
    void Interrupt() override;
    void Disconnect() override;
    bool Reconnect() override;

  private:
    void Record(const std::string& name);

    bool installed_ = true;
    std::vector<std::function<bool()>> connects_;
    std::function<void()> onDisconnect_;

    std::atomic<std::size_t> attempts_{0};
    CGuarded<std::vector<std::string>> calls_;
};

}  // namespace Kyr::Test
