#define WIN32_LEAN_AND_MEAN
#define NOMINMAX
#include <cstdio>
#include <fcntl.h>
#include <io.h>
#include <share.h>
#include <sys/stat.h>
#include <windows.h>

#include "portlayer/FunctionsByName.h"
#include "probe/session/System.h"

namespace Kyr::Probe {

namespace Native = Connectors::Common::Kelcomm::Native;

namespace {

Native::GenericFunction FindInLayerFirst(Native::NativeLibrary library, const char* name) {
    const auto function = PortLayer::FindFunctionByName(name);
    return function != nullptr ? function : Native::FindNativeFunction(library, name);
}

}  // namespace

bool HasTwoKindsOfPorts() {
    return true;
}

NativeLookup LookupOf(bool portLayer) {
    return portLayer ? &FindInLayerFirst : &Native::FindNativeFunction;
}

bool IsExpected(Native::NativeLibrary /*library*/) {
    return true;
}

std::string PlaceOfNames() {
    return {};
}

bool IsPlaceMissing() {
    return false;
}

std::string PlaceOfBuild() {
    return "HKEY_LOCAL_MACHINE\\SOFTWARE\\TULK\\Ovanta\\Agent\\CurrentVersion\\Info";
}

std::string PlaceProblem() {
    return {};
}

std::string ProgramOf(std::uint32_t processId) {
    const HANDLE process = OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, processId);
    if (process == nullptr) {
        return {};
    }
    std::string path(MAX_PATH, '\0');
    auto length = static_cast<DWORD>(path.size());
    if (QueryFullProcessImageNameA(process, 0, path.data(), &length) == FALSE) {
        length = 0;
    }
    CloseHandle(process);
    path.resize(length);
    return path.substr(path.find_last_of('\\') + 1);
}

bool MakePrivateFile(const std::string& path) {
    // Who may read it is what its folder says.
    int file = -1;
    if (_sopen_s(&file, path.c_str(), _O_CREAT | _O_EXCL | _O_WRONLY, _SH_DENYNO,
                 _S_IREAD | _S_IWRITE) != 0) {
        return false;
    }
    _close(file);
    return true;
}

void UseBinaryOutput() {
    _setmode(_fileno(stdout), _O_BINARY);
}

void UseBinaryInput() {
    _setmode(_fileno(stdin), _O_BINARY);
}

}  // namespace Kyr::Probe
