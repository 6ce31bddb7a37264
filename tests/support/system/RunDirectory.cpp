#include "tests/support/system/RunDirectory.h"

#include <Poco/Environment.h>

#include <boost/filesystem/operations.hpp>

namespace Kyr::Test {

namespace {

namespace Files = boost::filesystem;

std::string NewFolder() {
    const Files::path path = Files::temp_directory_path() / Files::unique_path("kyr-run-%%%%-%%%%");
    Files::create_directory(path);
    Files::permissions(path, Files::owner_all);
    return path.string();
}

}  // namespace

CRunDirectory::CRunDirectory() : path_(NewFolder()) {
    Poco::Environment::set("KELCOMM_RUNTIME_DIR", path_);
}

CRunDirectory::~CRunDirectory() {
    boost::system::error_code ignored;
    Files::remove_all(path_, ignored);
}

bool CRunDirectory::IsEmpty() const {
    return Files::is_empty(path_);
}

void CRunDirectory::Clear() {
    for (const Files::directory_entry& left : Files::directory_iterator(path_)) {
        Files::remove_all(left.path());
    }
}

}  // namespace Kyr::Test
