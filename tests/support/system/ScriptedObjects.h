// The objects of a scripted system that were handed out and are to be given back: handles,
// sections, views, identifiers, each of one kind.
//
// Threads: any.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "ntapi/Types.h"
#include "tests/support/system/ScriptedCalls.h"

namespace Kyr::Test {

class CScriptedObjects {
  public:
    /// `calls`, which must outlive the objects, remembers every misuse of a handle.
    explicit CScriptedObjects(CScriptedCalls& calls) : calls_(calls) {}
    CScriptedObjects(const CScriptedObjects&) = delete;
    CScriptedObjects& operator=(const CScriptedObjects&) = delete;

    NtApi::Handle Open(const char* kind);
    /// An object that is known by its address.
    void Add(void* address, const char* kind);
    /// False, and a misuse, when there is no such object.
    bool Close(NtApi::Handle handle);
    /// The same without closing it.
    bool Check(NtApi::Handle handle) const;
    /// What a system takes away by itself, if it is there.
    void Forget(void* address);

    /// Remembers that an object of another keeper was given back.
    void NoteGivenBack(const char* kind);

    /// The kinds of what callers gave back, in order.
    std::vector<std::string> GivenBack() const;
    std::size_t Count() const;
    /// Throws std::invalid_argument for a kind that there is not.
    std::size_t Count(const std::string& kind) const;

  private:
    bool Report(bool wasLive, NtApi::Handle handle) const;

    CScriptedCalls& calls_;
    mutable std::mutex mutex_;  // guards everything below
    std::map<NtApi::Handle, std::string> live_;
    std::vector<std::string> givenBack_;
    std::uintptr_t nextHandle_ = 0x1000;
};

}  // namespace Kyr::Test
