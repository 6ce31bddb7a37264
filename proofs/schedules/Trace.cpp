#include "proofs/schedules/Trace.h"

#include <cstdio>
#include <dlfcn.h>
#include <execinfo.h>
#include <iomanip>
#include <map>
#include <memory>
#include <set>
#include <sstream>
#include <unistd.h>

namespace Kyr::Proofs::Schedules {

namespace {

constexpr int kDeepest = 40;
constexpr std::size_t kPlaces = 3;  // of a step are told

/// The places that an address stands for, inner first: more than one where calls were inlined.
using Places = std::vector<std::string>;

// Only what lies in the program itself; its folders tell what of it is the project's.
std::string TextOf(const std::string& function, const std::string& file) {
    for (const char* const folder : {"/connector/", "/module/", "/kelcomm/",
                                     "/proofs/schedules/Scenarios", "/proofs/schedules/Life"}) {
        const std::size_t place = file.rfind(folder);
        if (place != std::string::npos) {
            const std::string name = function.substr(0, function.find('('));
            const std::size_t space = name.rfind("::", name.rfind("::") - 1);
            return name.substr(space == std::string::npos ? 0 : space + 2) + " " +
                   file.substr(place + 1);
        }
    }
    return {};
}

std::map<const void*, Places> Resolve(const std::set<void*>& addresses) {
    Dl_info program{};
    dladdr(reinterpret_cast<void*>(&Resolve), &program);
    char path[4096] = {};
    (void)!readlink("/proc/self/exe", path, sizeof(path) - 1);
    std::map<const void*, Places> places;
    std::map<std::string, const void*> byText;
    std::ostringstream command;
    command << "addr2line -a -C -f -i -e '" << path << "'" << std::hex;
    for (void* const address : addresses) {
        Dl_info info{};
        if (dladdr(address, &info) != 0 && info.dli_fbase == program.dli_fbase) {
            // What stands on a stack is the place behind the call.
            const auto offset =
                static_cast<const char*>(address) - static_cast<const char*>(program.dli_fbase) - 1;
            std::ostringstream text;
            text << "0x" << std::hex << std::setw(16) << std::setfill('0') << offset;
            byText[text.str()] = address;
            command << " 0x" << offset;
        }
    }
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> output(popen(command.str().c_str(), "r"),
                                                                 pclose);
    char buffer[4096];
    std::string function;
    const void* address = nullptr;
    bool isFile = false;
    while (output && std::fgets(buffer, sizeof(buffer), output.get()) != nullptr) {
        std::string line(buffer);
        line.erase(line.find_last_not_of('\n') + 1);
        if (const auto found = byText.find(line); found != byText.end()) {
            address = found->second;
            isFile = false;
        } else if (isFile) {
            if (const std::string text = TextOf(function, line); !text.empty()) {
                places[address].push_back(text);
            }
            isFile = false;
        } else {
            function = line;
            isFile = true;
        }
    }
    return places;
}

}  // namespace

void CTrace::Note(Nanoseconds now, int thread, const char* operation, const void* object,
                  const Option& next) {
    if (next.thread == thread && !next.byTime && std::string(operation) != "creates") {
        return;
    }
    void* addresses[kDeepest];
    const int depth = backtrace(addresses, kDeepest);
    steps_.push_back(
        {now, thread, operation, object, next, std::vector<void*>(addresses, addresses + depth)});
}

void CTrace::Print(std::ostream& out) const {
    std::set<void*> addresses;
    for (const Step& step : steps_) {
        addresses.insert(step.addresses.begin(), step.addresses.end());
    }
    const auto places = Resolve(addresses);
    for (const Step& step : steps_) {
        out << std::setw(9) << step.now / 1000000 << " ms  thread " << step.thread << ' '
            << step.operation;
        if (step.object != nullptr) {
            out << ' ' << step.object;
        }
        std::size_t told = 0;
        for (void* const address : step.addresses) {
            const auto found = places.find(address);
            for (std::size_t index = 0;
                 found != places.end() && index < found->second.size() && told < kPlaces; ++index) {
                out << (told++ == 0 ? "\n                at " : "\n                by ")
                    << found->second[index];
            }
        }
        out << "\n             -> thread " << step.next.thread
            << (step.next.byTime ? ", its time has come" : "")
            << (step.next.preempts ? ", which is put in" : "") << '\n';
    }
}

}  // namespace Kyr::Proofs::Schedules
