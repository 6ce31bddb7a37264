// Names of objects that another program of the same user has taken first, with something of another
// kind, and that it keeps: nothing is opened, followed or waited for.
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include "portlayer/linux/FileDescriptor.h"
#include "tests/portlayer/PortFixture.h"

namespace Kyr::Test {

namespace {

class SquattedNameTest : public PortFixture {
  protected:
    /// A file with that content, which counts as in use until the descriptor is closed.
    static Detail::CFileDescriptor Squat(const std::string& path, const std::string& content) {
        Detail::CFileDescriptor file(::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
        EXPECT_EQ(::write(file.Get(), content.data(), content.size()),
                  static_cast<ssize_t>(content.size()));
        EXPECT_EQ(::flock(file.Get(), LOCK_SH), 0);
        return file;
    }
    void ExpectNoMutex() {
        EXPECT_EQ(OpenMutexW(0, 0, u"Global\\Mutex"), nullptr);
        EXPECT_EQ(CreateMutexW(nullptr, 0, u"Global\\Mutex"), nullptr);
    }
};

TEST_F(SquattedNameTest, FileShorterThanAMutexIsNone) {
    const auto file = Squat(Path("mutex.mutex"), "ten bytes.");
    ExpectNoMutex();
    EXPECT_EQ(::unlink(Path("mutex.mutex").c_str()), 0);
}

TEST_F(SquattedNameTest, FolderIsNoMutex) {
    ASSERT_EQ(::mkdir(Path("mutex.mutex").c_str(), 0700), 0);
    ExpectNoMutex();
    EXPECT_EQ(::rmdir(Path("mutex.mutex").c_str()), 0);
}

TEST_F(SquattedNameTest, LinkIsNotFollowed) {
    const std::string target = Path("target");
    const auto file = Squat(target, std::string(4096, '\0'));
    ASSERT_EQ(::symlink(target.c_str(), Path("mutex.mutex").c_str()), 0);
    ASSERT_EQ(::symlink(target.c_str(), Path("section.section").c_str()), 0);
    ExpectNoMutex();
    EXPECT_EQ(OpenFileMappingW(4, 0, u"Global\\Section"), nullptr);
    EXPECT_EQ(::unlink(Path("mutex.mutex").c_str()), 0);
    EXPECT_EQ(::unlink(Path("section.section").c_str()), 0);
    EXPECT_EQ(::unlink(target.c_str()), 0);
}

TEST_F(SquattedNameTest, EmptyFileCannotBeMapped) {
    const auto file = Squat(Path("section.section"), "");
    const Handle section = OpenFileMappingW(4, 0, u"Global\\Section");
    EXPECT_EQ(Map(section, 4), nullptr);
    CloseHandle(section);
    EXPECT_EQ(::unlink(Path("section.section").c_str()), 0);
}

TEST_F(SquattedNameTest, PipeHoldsNobodyUp) {
    ASSERT_EQ(::mkfifo(Path("mutex.mutex").c_str(), 0600), 0);
    const Detail::CFileDescriptor pipe(
        ::open(Path("mutex.mutex").c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC));
    ASSERT_EQ(::flock(pipe.Get(), LOCK_SH), 0);
    ExpectNoMutex();
    EXPECT_EQ(::unlink(Path("mutex.mutex").c_str()), 0);
}

TEST_F(SquattedNameTest, FileThatNobodyKeepsMakesRoom) {
    Squat(Path("mutex.mutex"), "ten bytes.");
    const Handle mutex = CreateMutexW(nullptr, 0, u"Global\\Mutex");
    EXPECT_NE(mutex, nullptr);
    CloseHandle(mutex);
}

}  // namespace

}  // namespace Kyr::Test
