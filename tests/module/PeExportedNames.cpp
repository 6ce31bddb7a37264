#include "tests/module/ExportedNames.h"
#include "tests/module/PeFile.h"

namespace Kyr::Test {

std::vector<std::string> ExportedNames(const std::string& path) {
    return CPeFile(path).ExportedNames();
}

}  // namespace Kyr::Test
