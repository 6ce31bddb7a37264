#include "tests/support/system/ScriptedCalls.h"

#include <map>
#include <stdexcept>
#include <string_view>
#include <utility>

#include "kelcomm/native/NativeTable.h"

namespace Kyr::Test {

namespace {

using Guard = std::lock_guard<std::mutex>;

/// The place of each function; made once, since fuzzing makes many systems.
const std::map<std::string_view, std::size_t>& Places() {
    static const auto places = [] {
        std::map<std::string_view, std::size_t> made;
        const auto table = Connectors::Common::Kelcomm::Native::AllNativeFunctions();
        for (std::size_t i = 0; i < table.count; ++i) {
            made.emplace(table.entries[i].name, i);
        }
        made.emplace(CScriptedCalls::kReleaseMessage, table.count);
        return made;
    }();
    return places;
}

std::size_t PlaceOf(std::string_view function) {
    const auto found = Places().find(function);
    if (found == Places().end()) {
        throw std::invalid_argument("there is no function " + std::string(function));
    }
    return found->second;
}

}  // namespace

CScriptedCalls::CScriptedCalls() : functions_(Places().size()) {}

void CScriptedCalls::Fail(const std::string& function, unsigned times, unsigned after,
                          NtApi::NtStatus status) {
    const Guard guard(mutex_);
    Function& entry = functions_[PlaceOf(function)];
    entry.after = after;
    entry.times = times;
    entry.status = status;
}

unsigned CScriptedCalls::Count(const std::string& function) const {
    const Guard guard(mutex_);
    return functions_[PlaceOf(function)].calls;
}

std::vector<std::string> CScriptedCalls::Misuses() const {
    const Guard guard(mutex_);
    return misuses_;
}

void CScriptedCalls::OnCall(std::function<void(const std::string&)> action) {
    onCall_ = std::move(action);
}

bool CScriptedCalls::Enter(const char* function, NtApi::NtStatus* status) {
    if (onCall_) {
        onCall_(function);
    }
    const Guard guard(mutex_);
    Function& entry = functions_[PlaceOf(function)];
    ++entry.calls;
    if (entry.times == 0) {
        return true;
    }
    if (entry.after > 0) {
        --entry.after;
        return true;
    }
    if (entry.times != kAlways) {
        --entry.times;
    }
    if (status != nullptr) {
        *status = entry.status;
    }
    return false;
}

void CScriptedCalls::Note(const char* function) {
    if (!Enter(function)) {
        AddMisuse(std::string(function) + " cannot be made to fail");
    }
}

bool CScriptedCalls::Require(bool holds, const char* misuse) {
    if (!holds) {
        AddMisuse(misuse);
    }
    return holds;
}

void CScriptedCalls::AddMisuse(std::string misuse) {
    const Guard guard(mutex_);
    misuses_.push_back(std::move(misuse));
}

}  // namespace Kyr::Test
