// A name space of ports, mutexes and sections for one test: KELCOMM_RUNTIME_DIR names a new folder
// that only our own user may enter.
#pragma once

#include <string>

namespace Kyr::Test {

class CRunDirectory {
  public:
    CRunDirectory();
    CRunDirectory(const CRunDirectory&) = delete;
    CRunDirectory& operator=(const CRunDirectory&) = delete;
    ~CRunDirectory();

    const std::string& Path() const { return path_; }
    /// False when a name was left behind, where names are files.
    bool IsEmpty() const;
    /// Removes what killed processes left.
    void Clear();

  private:
    const std::string path_;
};

}  // namespace Kyr::Test
