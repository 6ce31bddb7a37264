// A new folder in which parrots stand in the place of host and product, for a runner to start.
// Everything that a run leaves can go there, too.
#pragma once

#include <fstream>
#include <string>

#include <boost/filesystem/operations.hpp>
#include <boost/filesystem/path.hpp>

#include "tests/support/system/TemporaryFolder.h"

namespace Kyr::Lab::Runner {

class CParrotFolder {
  public:
    CParrotFolder() {
        for (const char* const name : {"devhost", "simproduct"}) {
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
