// Where a program leaves databases, logs, transcripts and ports.
//
// Threads: any; each object by one.
// Errors: boost::filesystem::filesystem_error; std::runtime_error for a folder that is not ours.
#pragma once

#include <optional>
#include <string>

#include <boost/filesystem/path.hpp>
#include <boost/interprocess/sync/file_lock.hpp>

namespace Kyr::Lab::Runner {

/// A folder of which one runner at a time may empty what is in it: it carries a mark of ours, which
/// is locked while this object lives. So a folder that somebody named by mistake stays as it is.
class CWorkFolder {
  public:
    /// Takes `path`, which has our mark, or is empty or missing; without it, a new folder below the
    /// one that KYR_LAB_FOLDER names, or else among the temporary ones.
    explicit CWorkFolder(const std::optional<std::string>& path);
    CWorkFolder(const CWorkFolder&) = delete;
    CWorkFolder& operator=(const CWorkFolder&) = delete;
    /// A new folder goes away, unless it is kept.
    ~CWorkFolder();

    std::string Path() const { return path_.string(); }
    std::string File(const std::string& name) const { return (path_ / name).string(); }
    /// A folder in it of that name, empty and for its owner alone.
    std::string EmptyFolder(const std::string& name) const;
    void Keep() { goesAway_ = false; }
    bool GoesAway() const { return goesAway_; }

  private:
    bool goesAway_;
    const boost::filesystem::path path_;
    boost::interprocess::file_lock lock_;
};

}  // namespace Kyr::Lab::Runner
