#include "probe/Input.h"

#include <fstream>
#include <iostream>
#include <iterator>
#include <stdexcept>

namespace Kyr::Probe {

std::string ReadInput(const std::string& name) {
    if (name == "-") {
        return {std::istreambuf_iterator<char>(std::cin), {}};
    }
    std::ifstream file(name, std::ios::binary);
    if (file) {
        file.peek();  // a folder can be opened, too, and not be read
    }
    if (!file.is_open() || file.bad()) {
        throw std::runtime_error(name + ": cannot be read");
    }
    file.clear();
    return {std::istreambuf_iterator<char>(file), {}};
}

}  // namespace Kyr::Probe
