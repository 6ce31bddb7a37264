#include "lab/runner/WorkFolder.h"

#include <cstdlib>
#include <fstream>
#include <stdexcept>

#include <boost/filesystem/operations.hpp>

namespace Kyr::Lab::Runner {

namespace fs = boost::filesystem;

namespace {

constexpr char kMark[] = ".labrunner";

fs::path NewFolder() {
    const char* const parent = std::getenv("KYR_LAB_FOLDER");
    return (parent != nullptr ? fs::path(parent) : fs::temp_directory_path()) /
           fs::unique_path("kyr-lab-%%%%%%%%");
}

/// The mark in it, which is made where there is nothing yet.
fs::path Marked(const fs::path& folder) {
    fs::create_directories(folder);
    fs::path mark = folder / kMark;
    if (!fs::exists(mark)) {
        if (!fs::is_empty(folder)) {
            throw std::runtime_error(folder.string() +
                                     " is not empty, and no work folder of ours: it has no file " +
                                     kMark);
        }
        std::ofstream(mark.string()) << "labrunner empties what is in this folder.\n";
    }
    return mark;
}

}  // namespace

CWorkFolder::CWorkFolder(const std::optional<std::string>& path)
    : goesAway_(!path),
      path_(path ? fs::path(*path) : NewFolder()),
      lock_(Marked(path_).string().c_str()) {
    if (!lock_.try_lock()) {
        throw std::runtime_error("another run is at work in " + path_.string());
    }
}

CWorkFolder::~CWorkFolder() {
    lock_ = boost::interprocess::file_lock();
    if (goesAway_) {
        boost::system::error_code ignored;
        fs::remove_all(path_, ignored);
    }
}

std::string CWorkFolder::EmptyFolder(const std::string& name) const {
    const fs::path folder = path_ / name;
    fs::remove_all(folder);
    fs::create_directories(folder);
    fs::permissions(folder, fs::owner_all);
    return folder.string();
}

}  // namespace Kyr::Lab::Runner
