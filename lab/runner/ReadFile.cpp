#include "lab/runner/ReadFile.h"

#include <fstream>
#include <iterator>
#include <stdexcept>

namespace Kyr::Lab::Runner {

std::string ReadFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        throw std::runtime_error("cannot read " + path);
    }
    return {std::istreambuf_iterator<char>(file), {}};
}

}  // namespace Kyr::Lab::Runner
