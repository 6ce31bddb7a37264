#include "tests/support/system/ScriptedObjects.h"

#include <algorithm>
#include <iterator>
#include <sstream>
#include <stdexcept>

namespace Kyr::Test {

namespace {

using Guard = std::lock_guard<std::mutex>;

const char* const kKinds[] = {"port", "alpc port", "section", "view",       "token",
                              "sid",  "mutex",     "mapping", "mapped area"};

const std::string& Known(const std::string& kind) {
    if (std::find(std::begin(kKinds), std::end(kKinds), kind) == std::end(kKinds)) {
        throw std::invalid_argument("there are no objects of kind " + kind);
    }
    return kind;
}

}  // namespace

NtApi::Handle CScriptedObjects::Open(const char* kind) {
    const Guard guard(mutex_);
    const auto handle = reinterpret_cast<NtApi::Handle>(nextHandle_);
    nextHandle_ += 4;
    live_[handle] = Known(kind);
    return handle;
}

void CScriptedObjects::Add(void* address, const char* kind) {
    const Guard guard(mutex_);
    live_[address] = Known(kind);
}

bool CScriptedObjects::Close(NtApi::Handle handle) {
    const Guard guard(mutex_);
    const auto found = live_.find(handle);
    if (!Report(found != live_.end(), handle)) {
        return false;
    }
    givenBack_.push_back(found->second);
    live_.erase(found);
    return true;
}

bool CScriptedObjects::Check(NtApi::Handle handle) const {
    const Guard guard(mutex_);
    return Report(live_.count(handle) != 0, handle);
}

bool CScriptedObjects::Report(bool wasLive, NtApi::Handle handle) const {
    if (!wasLive) {
        std::ostringstream text;
        text << "use of " << handle << ", which is not open";
        calls_.AddMisuse(text.str());
    }
    return wasLive;
}

void CScriptedObjects::Forget(void* address) {
    const Guard guard(mutex_);
    live_.erase(address);
}

void CScriptedObjects::NoteGivenBack(const char* kind) {
    const Guard guard(mutex_);
    givenBack_.push_back(kind);
}

std::vector<std::string> CScriptedObjects::GivenBack() const {
    const Guard guard(mutex_);
    return givenBack_;
}

std::size_t CScriptedObjects::Count() const {
    const Guard guard(mutex_);
    return live_.size();
}

std::size_t CScriptedObjects::Count(const std::string& kind) const {
    const Guard guard(mutex_);
    const std::string& known = Known(kind);
    return static_cast<std::size_t>(std::count_if(
        live_.begin(), live_.end(), [&known](const auto& entry) { return entry.second == known; }));
}

}  // namespace Kyr::Test
