#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <sys/stat.h>
#include <unistd.h>

#include "portlayer/Diagnostics.h"
#include "portlayer/RunFiles.h"
#include "probe/session/System.h"

namespace Kyr::Probe {

namespace Native = Connectors::Common::Kelcomm::Native;

bool HasTwoKindsOfPorts() {
    return false;
}

NativeLookup LookupOf(bool /*portLayer*/) {
    return &Native::FindNativeFunction;
}

bool IsExpected(Native::NativeLibrary library) {
    return library != Native::NativeLibrary::kAdvapi32;  // there are no access tokens
}

std::string PlaceOfNames() {
    return PortLayer::PlaceOfNames();
}

bool IsPlaceMissing() {
    std::error_code isUnknown;
    return !std::filesystem::exists(PlaceOfNames(), isUnknown) && !isUnknown;
}

std::string PlaceOfBuild() {
    return PlaceOfNames() + "/ovanta-agent-build";
}

std::string PlaceProblem() {
    // Nobody writes such a file: whatever is not its absence is the directory's fault.
    std::string text;
    const NtApi::NtStatus status = PortLayer::ReadRunFile("ovprobe", text);
    return status == NtApi::kStatusObjectNameNotFound ? "" : PortLayer::LastFailure();
}

std::string ProgramOf(std::uint32_t processId) {
    std::ifstream file("/proc/" + std::to_string(processId) + "/comm");
    std::string name;
    std::getline(file, name);
    return name;
}

bool MakePrivateFile(const std::string& path) {
    const int file = open(path.c_str(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, S_IRUSR | S_IWUSR);
    if (file < 0) {
        return false;
    }
    close(file);
    return true;
}

// Here they do so anyway.
void UseBinaryOutput() {}
void UseBinaryInput() {}

}  // namespace Kyr::Probe
