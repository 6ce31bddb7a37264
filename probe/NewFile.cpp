#include "probe/NewFile.h"

#include <filesystem>
#include <stdexcept>

#include "probe/session/System.h"

namespace Kyr::Probe {

void MakeNewFile(const std::string& what, const std::string& path) {
    if (path == "-") {
        throw std::runtime_error(what + " goes into a file, not to standard output");
    }
    if (std::filesystem::exists(path)) {
        throw std::runtime_error(path + " is there already");
    }
    if (!MakePrivateFile(path)) {
        throw std::runtime_error("cannot make " + path);
    }
}

}  // namespace Kyr::Probe
