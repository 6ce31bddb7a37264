// A new folder in which parrots stand in the place of host and product, or of other programs.
// Everything that a run leaves can go there, too.
#pragma once

#include <fstream>
#include <string>
#include <vector>

#include <boost/filesystem/operations.hpp>
#include <boost/filesystem/path.hpp>

#include "tests/support/system/TemporaryFolder.h"

namespace Kyr::Lab::Runner {

class CParrotFolder {
  public:
    CParrotFolder() : CParrotFolder({"devhost", "simproduct"}) {}
    explicit CParrotFolder(const std::vector<std::string>& names) {
        for (const std::string& name : names) {
            boost::filesystem::copy_file(KYR_PARROT, Program(name));
        }
    }

    std::string Path() const { return folder_.Path(); }
    std::string File(const std::string& name) const { return folder_.File(name); }
    std::string Program(const std::string& name) const { return File(name + KYR_PROGRAM_SUFFIX); }

    /// Writes a file, and tells its path.
    std::string Write(const std::string& name, const std::string& text) const {
        std::ofstream(File(name), std::ios::binary) << text;
        return File(name);
    }

  private:
    const Test::CTemporaryFolder folder_;
};

}  // namespace Kyr::Lab::Runner
