#include "hostprobe/ProcessChecks.h"

#include <algorithm>
#include <cctype>
#include <exception>
#include <google/protobuf/descriptor.h>
#include <stdexcept>

#include "host/message/OvAgentTasks.h"
#include "hostprobe/LoadedLibraries.h"

namespace Kyr::HostProbe {

namespace {

using Common::Message::Connectors::OvAgentConnector::Task::CKillProcessByPid;

std::string LowerName(const std::string& path) {
    std::string name = path.substr(path.find_last_of("/\\") + 1);
    std::transform(name.begin(), name.end(), name.begin(),
                   [](unsigned char sign) { return static_cast<char>(std::tolower(sign)); });
    return name;
}

/// Of which more than one must not be there: the beginnings of the names that its file can have.
struct Shared {
    const char* point;
    const char* what;
    std::vector<std::string> beginnings;
    const char* unlike;  // the beginning of something else
};

std::vector<std::string> FilesOf(const Shared& shared) {
    std::vector<std::string> found;
    for (const std::string& file : LoadedLibraries()) {
        const std::string name = LowerName(file);
        const bool is = std::any_of(
            shared.beginnings.begin(), shared.beginnings.end(),
            [&](const std::string& beginning) { return name.rfind(beginning, 0) == 0; });
        if (is && name.rfind(shared.unlike, 0) != 0) {
            found.push_back(file);
        }
    }
    return found;
}

void CheckOneFile(const Shared& shared, CReport& report) {
    const auto files = FilesOf(shared);
    std::string names;
    for (const std::string& file : files) {
        names += (names.empty() ? "" : ", ") + file;
    }
    if (files.empty()) {
        report.Tell(Verdict::kDoubtful, shared.point,
                    std::string("there is no file of ") + shared.what +
                        ": linked statically, it cannot be shared");
        return;
    }
    report.Judge(files.size() == 1, shared.point,
                 std::string("one ") + shared.what + " in the process",
                 std::string("more than one ") + shared.what + " in the process: " + names);
}

void CheckDescriptors(CReport& report) {
    const auto* type = CKillProcessByPid::Payload::descriptor();
    const auto* pool = google::protobuf::DescriptorPool::generated_pool();
    report.Judge(
        type->file()->pool() == pool && pool->FindMessageTypeByName(type->full_name()) == type,
        "protobuf-messages", "the host's messages belong to the runtime of the module",
        "the host's messages belong to another protobuf runtime than the module's");
}

void CheckExceptions(CReport& report) {
    CKillProcessByPid message;
    message.SetReadOnly();
    std::string caught = "nothing";
    try {
        message.SetPayload({});
    } catch (const std::runtime_error& problem) {
        caught = problem.what();
    } catch (...) {
        caught = "an exception of unknown type";
    }
    report.Judge(caught == "Message is read only", "exceptions-in",
                 "an exception of the host's library is caught by its type in the module",
                 "an exception of the host's library reaches the module as " + caught);
}

}  // namespace

void CheckProcess(CReport& report) {
    CheckOneFile(
        {"protobuf-runtime", "protobuf runtime", {"libprotobuf", "protobuf"}, "libprotobuf-lite"},
        report);
    CheckOneFile({"cpp-runtime", "C++ runtime", {"libstdc++", "libc++."}, "libc++abi"}, report);
    CheckOneFile({"host-library", "library of the host", {"libkyrhost", "kyrhost"}, " "}, report);
    CheckDescriptors(report);
    CheckExceptions(report);
}

}  // namespace Kyr::HostProbe
