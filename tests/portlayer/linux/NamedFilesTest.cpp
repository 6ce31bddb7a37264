// Objects with a name when the environment of the run directory is bad: a full disk, a directory
// that is cleared under its users.
#include <csignal>
#include <sys/resource.h>
#include <sys/stat.h>
#include <thread>

#include "portlayer/Diagnostics.h"
#include "portlayer/RunFiles.h"
#include "portlayer/linux/NamedFile.h"
#include "tests/portlayer/PortFixture.h"

namespace Kyr::Test {

namespace {

using namespace PortLayer;

constexpr std::uint32_t kFileMapWrite = 2;

/// Lets every file of this process end behind so many bytes, as a full disk would. A program that
/// does not ignore the signal is ended by the first write beyond.
class CFileLimit {
  public:
    explicit CFileLimit(rlim_t bytes) {
        ::getrlimit(RLIMIT_FSIZE, &before_);
        const rlimit limit = {bytes, before_.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~CFileLimit() {
        ::setrlimit(RLIMIT_FSIZE, &before_);
        std::signal(SIGXFSZ, handler_);
    }

  private:
    rlimit before_ = {};
    void (*const handler_)(int) = std::signal(SIGXFSZ, SIG_IGN);
};

class NamedFilesTest : public PortFixture {
  protected:
    Handle CreateSection(std::uint32_t size) {
        return PortFixture::CreateSection(size, u"Global\\Section");
    }
    static std::uint8_t* Map(Handle section) { return PortFixture::Map(section, kFileMapWrite); }
    Handle CreateMutex() { return CloseLater(CreateMutexW(nullptr, 0, u"Global\\Mutex")); }
};

TEST_F(NamedFilesTest, NewSectionHasItsRoomOnTheDisk) {
    CreateSection(65536);
    struct stat info = {};
    ASSERT_EQ(::stat(Path("section.section").c_str(), &info), 0);
    EXPECT_EQ(info.st_size, 65536);
    EXPECT_GE(info.st_blocks * 512, 65536);
}

TEST_F(NamedFilesTest, SectionWithoutRoomIsRefusedWithPathAndReason) {
    const CFileLimit limit(4096);
    EXPECT_EQ(CreateSection(4097), nullptr);
    EXPECT_EQ(LastFailure(), Path("section.section") + ": File too large");
}

TEST_F(NamedFilesTest, TextWithoutRoomIsRefusedAsOfAFullDisk) {
    const CFileLimit limit(10);
    EXPECT_EQ(WriteRunFile("name", "eleven byte"), NtApi::kStatusDiskFull);
    EXPECT_EQ(LastFailure(), Path("name") + ": File too large");
}

TEST_F(NamedFilesTest, ViewsInAClearedDirectoryShowTheNextSectionOnceRenewed) {
    const Handle old = CreateSection(100);
    std::uint8_t* const first = Map(old);
    const std::uint8_t* const second = Map(old);
    ForgetName();
    Detail::RenewViews();  // there is no next one yet
    first[0] = 1;
    EXPECT_EQ(second[0], 1);
    const Handle next = CreateSection(100);
    std::uint8_t* const view = Map(next);
    view[0] = 7;
    EXPECT_EQ(first[0], 1);
    Detail::RenewViews();
    EXPECT_EQ(first[0], 7);
    EXPECT_EQ(second[0], 7);
    for (const void* base : {static_cast<const void*>(first), static_cast<const void*>(second),
                             static_cast<const void*>(view)}) {
        EXPECT_EQ(UnmapViewOfFile(base), 1);
    }
}

TEST_F(NamedFilesTest, ViewInAClearedDirectoryIsNotRenewedByASmallerSection) {
    const Handle old = CreateSection(8192);
    std::uint8_t* const view = Map(old);
    ForgetName();
    CreateSection(4096);
    Detail::RenewViews();
    view[8191] = 1;
    EXPECT_EQ(view[8191], 1);
    UnmapViewOfFile(view);
}

TEST_F(NamedFilesTest, MutexInAClearedDirectoryIsTheNextOneOfItsName) {
    const Handle old = CreateMutex();
    ForgetName();
    const Handle next = CreateMutex();
    EXPECT_EQ(WaitForSingleObject(next, 0), 0u);
    std::thread([&] { EXPECT_EQ(WaitForSingleObject(old, 0), 0x102u); }).join();
    EXPECT_EQ(ReleaseMutex(next), 1);
}

TEST_F(NamedFilesTest, MutexThatIsHeldStaysTheOldOneUntilItIsReleased) {
    const Handle old = CreateMutex();
    EXPECT_EQ(WaitForSingleObject(old, 0), 0u);
    ForgetName();
    const Handle next = CreateMutex();
    EXPECT_EQ(WaitForSingleObject(old, 0), 0u);
    std::thread([&] {
        EXPECT_EQ(WaitForSingleObject(next, 0), 0u);
        EXPECT_EQ(ReleaseMutex(next), 1);
    }).join();
    EXPECT_EQ(ReleaseMutex(old), 1);
    EXPECT_EQ(ReleaseMutex(old), 1);
    EXPECT_EQ(ReleaseMutex(old), 0);
}

}  // namespace

}  // namespace Kyr::Test
