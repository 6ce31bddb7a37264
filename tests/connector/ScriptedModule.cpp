#include "tests/connector/ScriptedModule.h"

#include <algorithm>
#include <utility>

#include "tests/support/time/Await.h"

namespace Kyr::Test {

CScriptedModule::CScriptedModule(boost::shared_ptr<Base::IClock> clock)
    : CConnectorModule(std::move(clock)) {}

CScriptedModule::~CScriptedModule() {
    EndThreads();
}

CScriptedModule& CScriptedModule::ThenConnectBy(std::function<bool()> action) {
    connects_.push_back(std::move(action));
    return *this;
}

CScriptedModule& CScriptedModule::ThenConnect(bool result) {
    return ThenConnectBy([result] { return result; });
}

void CScriptedModule::OnDisconnect(std::function<void()> action) {
    onDisconnect_ = std::move(action);
}

bool CScriptedModule::AwaitCalls(const std::string& name, std::size_t count) const {
    return Await([&] {
        const std::vector<std::string> calls = Calls();
        return static_cast<std::size_t>(std::count(calls.begin(), calls.end(), name)) >= count;
    });
}

void CScriptedModule::CreateTasks(TaskList& list) {
    tasksBefore = static_cast<int>(list.size());
    list.insert(list.end(), tasks.begin(), tasks.end());
}

bool CScriptedModule::Connect() {
    Record("Connect");
    if (connects_.empty()) {
        return true;
    }
    return connects_[std::min(attempts_++, connects_.size() - 1)]();
}

void CScriptedModule::Interrupt() {
    Record("Interrupt");
}

void CScriptedModule::Disconnect() {
    Record("Disconnect");
    if (onDisconnect_) {
        onDisconnect_();
    }
}

bool CScriptedModule::Reconnect() {
    Record("Reconnect");
    return CConnectorModule::Reconnect();
}

void CScriptedModule::Record(const std::string& name) {
    calls_.With([&](auto& calls) { calls.push_back(name); });
}

}  // namespace Kyr::Test
