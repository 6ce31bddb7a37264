#include "lab/simproduct/processes/LabProcesses.h"

#include <Poco/DigestEngine.h>
#include <Poco/SHA1Engine.h>
#include <Poco/SHA2Engine.h>
#include <fstream>
#include <stdexcept>

#include <boost/thread/lock_guard.hpp>

namespace Kyr::Lab::SimProduct {

Program ReadProgram(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    Poco::SHA1Engine sha1;
    Poco::SHA2Engine sha256(Poco::SHA2Engine::SHA_256);
    char block[65536];
    while (file.read(block, sizeof block) || file.gcount() > 0) {
        const auto count = static_cast<std::size_t>(file.gcount());
        sha1.update(block, count);
        sha256.update(block, count);
    }
    if (!file.eof()) {
        throw std::runtime_error("cannot read the program " + path);
    }
    return {path, Poco::DigestEngine::digestToHex(sha1.digest()),
            Poco::DigestEngine::digestToHex(sha256.digest())};
}

CLabProcesses::CLabProcesses(IProcessLauncher& launcher, LineSink sink)
    : launcher_(launcher), sink_(std::move(sink)) {}

CLabProcesses::~CLabProcesses() {
    EndAll();
}

LabProcess CLabProcesses::Start(const std::string& name, const Program& program,
                                const std::vector<std::string>& arguments) {
    return Keep(false, name, program, [&] { return launcher_.Launch(program.path, arguments); });
}

LabProcess CLabProcesses::Adopt(const std::string& name, const Program& program,
                                std::uint64_t pid) {
    return Keep(true, name, program, [&] { return launcher_.Adopt(program.path, pid); });
}

LabProcess CLabProcesses::Keep(bool adopted, const std::string& name, const Program& program,
                               const Launch& launch) {
    const boost::lock_guard<boost::mutex> lock(mutex_);
    for (const auto& entry : entries_) {
        if (entry->facts.running && entry->facts.name == name) {
            throw std::runtime_error("a process named " + name + " is running");
        }
    }
    auto entry = std::make_unique<Entry>();
    entry->process = launch();
    entry->facts = {name, entry->process->Pid(), program, true, adopted};
    // Written under the lock: the watcher's `ended` must not overtake it.
    sink_(CLine(adopted ? "adopted" : "started")
              .With("pid", entry->facts.pid)
              .With("name", name)
              .With("program", program.path)
              .With("sha256", program.sha256));
    Tell(entry->facts);
    Entry& kept = *entries_.emplace_back(std::move(entry));
    watchers_.create_thread([this, &kept] { Watch(kept); });
    return kept.facts;
}

std::optional<LabProcess> CLabProcesses::Find(std::uint64_t pid) const {
    const boost::lock_guard<boost::mutex> lock(mutex_);
    const Entry* const entry = FindEntry(pid);
    return entry == nullptr ? std::nullopt : std::optional(entry->facts);
}

bool CLabProcesses::Kill(std::uint64_t pid, const std::function<void()>& onKilled) {
    const boost::lock_guard<boost::mutex> lock(mutex_);
    Entry* const entry = FindEntry(pid);
    if (entry == nullptr || !entry->facts.running || !entry->process->Kill()) {
        return false;
    }
    entry->endedBy = "kill-request";
    onKilled();  // under the lock, which the `ended` event needs
    return true;
}

void CLabProcesses::EndAll() {
    {
        const boost::lock_guard<boost::mutex> lock(mutex_);
        for (const auto& entry : entries_) {
            if (entry->facts.running && entry->process->Kill()) {
                entry->endedBy = "product";
            }
        }
    }
    watchers_.join_all();
}

void CLabProcesses::Watch(Entry& entry) {
    entry.process->Wait();
    const boost::lock_guard<boost::mutex> lock(mutex_);
    entry.facts.running = false;
    sink_(CLine("ended")
              .With("pid", entry.facts.pid)
              .With("name", entry.facts.name)
              .With("by", entry.endedBy));
    Tell(entry.facts);
}

void CLabProcesses::Tell(const LabProcess& process) const {
    if (observer_ && !process.adopted) {
        observer_(process);
    }
}

CLabProcesses::Entry* CLabProcesses::FindEntry(std::uint64_t pid) const {
    for (auto entry = entries_.rbegin(); entry != entries_.rend(); ++entry) {
        if ((*entry)->facts.pid == pid) {
            return entry->get();
        }
    }
    return nullptr;
}

}  // namespace Kyr::Lab::SimProduct
