#include "lab/runner/Stage.h"

#include <utility>

#include <boost/filesystem/path.hpp>

namespace Kyr::Lab::Runner {

std::string Stage::File(const std::string& name) const {
    return (boost::filesystem::path(work) / name).string();
}

std::unique_ptr<CActor> Stage::Start(const std::string& actor,
                                     const std::vector<std::string>& arguments,
                                     CActor::Listener listener) const {
    const auto program = [this](const std::string& name) {
        return (boost::filesystem::path(programs) / (name + KYR_PROGRAM_SUFFIX)).string();
    };
    const bool isHost = actor == "host";
    std::vector<std::string> all{"--victim=" + program("victim")};
    if (isHost) {
        all = {"--library=" + library, "--database=" + HostDatabase(), "--log=" + HostLog()};
        all.insert(all.end(), hostOptions.begin(), hostOptions.end());
    }
    all.insert(all.end(), arguments.begin(), arguments.end());
    return std::make_unique<CActor>(actor, program(isHost ? "devhost" : product), all,
                                    CActor::Environment{{"KELCOMM_RUNTIME_DIR", ports}},
                                    std::move(listener));
}

}  // namespace Kyr::Lab::Runner
