// A new empty folder that goes away with this object.
#pragma once

#include <string>

#include <boost/filesystem/operations.hpp>

namespace Kyr::Test {

class CTemporaryFolder {
  public:
    CTemporaryFolder()
        : path_(boost::filesystem::temp_directory_path() /
                boost::filesystem::unique_path("kyr-%%%%-%%%%-%%%%")) {
        boost::filesystem::create_directory(path_);
    }
    CTemporaryFolder(const CTemporaryFolder&) = delete;
    CTemporaryFolder& operator=(const CTemporaryFolder&) = delete;
    ~CTemporaryFolder() {
        boost::system::error_code ignored;
        boost::filesystem::remove_all(path_, ignored);
    }

    std::string Path() const { return path_.string(); }
    std::string File(const std::string& name) const { return (path_ / name).string(); }

  private:
    const boost::filesystem::path path_;
};

}  // namespace Kyr::Test
