// The file behind a named mutex, section or port, alive while somebody holds it open.
//
// A system object ends with its last handle. So here: every holder keeps a shared lock on the file;
// who finds it unlocked takes it for left behind by dead processes and removes it; the last holder
// removes it on leaving. A new object gets its name only when it is complete, and the disk keeps
// its room: memory behind a file of a full disk would end whoever touches it.
// Threads: any; one object is used by its owner alone.
#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "portlayer/linux/FileDescriptor.h"
#include "portlayer/linux/RunDirectory.h"

namespace Kyr::PortLayer::Detail {

class CNamedFile {
  public:
    CNamedFile() = default;
    CNamedFile(const CNamedFile&) = delete;
    CNamedFile& operator=(const CNamedFile&) = delete;
    ~CNamedFile();

    NtApi::NtStatus Open(std::u16string_view name, const char* kind);
    /// Opens the object, or makes it: `size` zero bytes, then `initialise` with the new file. When
    /// somebody else makes it at the same time, what was initialised may be thrown away.
    NtApi::NtStatus OpenOrCreate(std::u16string_view name, const char* kind, std::size_t size,
                                 const std::function<bool(int)>& initialise);
    /// Whether OpenOrCreate made it.
    bool WasCreated() const { return wasCreated_; }
    /// When somebody has removed the file from under its holders: takes the one that has the name
    /// by now, if it is as large, and says so.
    bool Renew();
    int Descriptor() const { return file_.Get(); }
    std::size_t Size() const;

  private:
    NtApi::NtStatus OpenLive();
    NtApi::NtStatus Create(std::size_t size, const std::function<bool(int)>& initialise);

    CFileDescriptor directory_;
    std::string name_;
    CFileDescriptor file_;
    bool wasCreated_ = false;
};

/// Lets every view of a named section whose file somebody removed show the section that has the
/// name by now. In the system a name leads to one object as long as somebody holds it; here a
/// directory that is cleared under its holders gives the next server new files. Whoever connects to
/// that server is to see its section. Threads: any.
void RenewViews();

}  // namespace Kyr::PortLayer::Detail
