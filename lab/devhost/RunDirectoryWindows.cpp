#include "lab/devhost/RunDirectory.h"

namespace Kyr::Lab::DevHost {

std::string RunDirectoryProblem() {
    return "";
}

}  // namespace Kyr::Lab::DevHost
