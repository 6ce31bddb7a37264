#include <cstdio>
#include <fcntl.h>
#include <io.h>

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

std::string PlaceProblem() {
    return {};
}

std::string ProgramOf(std::uint32_t /*processId*/) {
    return {};
}

void UseBinaryOutput() {
    _setmode(_fileno(stdout), _O_BINARY);
}

void UseBinaryInput() {
    _setmode(_fileno(stdin), _O_BINARY);
}

}  // namespace Kyr::Probe
