#include "lab/runner/WorkFolder.h"

#include <cstdlib>

#include <boost/filesystem/operations.hpp>
#include <boost/filesystem/path.hpp>

namespace Kyr::Lab::Runner {

std::string NewWorkFolder() {
    const char* const parent = std::getenv("KYR_LAB_FOLDER");
    const auto folder = (parent != nullptr ? boost::filesystem::path(parent)
                                           : boost::filesystem::temp_directory_path()) /
                        boost::filesystem::unique_path("kyr-lab-%%%%%%%%");
    boost::filesystem::create_directories(folder);
    return folder.string();
}

}  // namespace Kyr::Lab::Runner
