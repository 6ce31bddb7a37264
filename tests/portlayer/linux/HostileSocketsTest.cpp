// Peers that break the rules in ways that only sockets know, peers of other users, and what may be
// wrong with a run directory.
#include <fcntl.h>
#include <grp.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include "portlayer/linux/FileDescriptor.h"
#include "tests/portlayer/ChildProcess.h"
#include "tests/portlayer/HostilePeers.h"

namespace Kyr::Test {

namespace {

using namespace NtApi;
using namespace PortLayer::Detail;

constexpr uid_t kNobody = 65534;

/// Memory whose size can still change in the ways that no seal forbids.
SharedMemory MemoryWithSeals(unsigned seals) {
    SharedMemory memory;
    memory.handle.Reset(::memfd_create("hostile", MFD_CLOEXEC | MFD_ALLOW_SEALING));
    const int file = static_cast<int>(memory.handle.Get());
    EXPECT_EQ(::ftruncate(file, 65536), 0);
    EXPECT_EQ(::fcntl(file, F_ADD_SEALS, seals), 0);
    return memory;
}

TEST_F(HostileAlpcClientTest, MemoryThatCouldShrinkIsDropped) {
    ExpectDropped(SendView(MemoryWithSeals(F_SEAL_GROW), kSize, 100));
}

TEST_F(HostileAlpcClientTest, DescriptorThatIsNoMemoryIsDropped) {
    SharedMemory input;
    input.handle.Reset(::dup(STDIN_FILENO));
    ExpectDropped(SendView(input, kSize, 100));
}

TEST_F(HostileAlpcClientTest, OtherUsersClientIsTurnedAway) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only root can become another user";
    }
    // The directory would keep the other user out already: open it, to meet the second check.
    ASSERT_EQ(::chmod(RunDirectory().c_str(), 0711), 0);
    ASSERT_EQ(::chmod(Path("contractport.port").c_str(), 0777), 0);
    const pid_t child = ::fork();
    if (child == 0) {
        if (::setgroups(0, nullptr) != 0 || ::setuid(kNobody) != 0) {
            ::_exit(2);
        }
        CRawPeer client = CRawPeer::OfClient();
        ::_exit(client.IsDropped() ? 0 : 1);
    }
    int status = -1;
    ::waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
    ASSERT_EQ(::chmod(RunDirectory().c_str(), 0700), 0);
}

TEST_F(HostileServerTest, OtherUsersServerIsRefused) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only root can become another user";
    }
    CChildProcess server([this](CChildProcess& self) {
        // Bound by root, so that it stands in root's directory; served by another.
        sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        std::strcpy(address.sun_path, Path("contractport.port").c_str());
        const int socket = ::socket(AF_UNIX, SOCK_SEQPACKET, 0);
        const bool served =
            ::bind(socket, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0 &&
            ::setgroups(0, nullptr) == 0 && ::setuid(kNobody) == 0 && ::listen(socket, 1) == 0;
        if (!served) {
            self.Exit(2);
        }
        self.Ready();
        self.WaitForEver();
    });
    server.AwaitReady();
    EXPECT_EQ(TryConnect(), kStatusAccessDenied);
}

class RunDirectoryTest : public LpcPortFixture {
  protected:
    void ExpectRefused() {
        Handle port = nullptr;
        EXPECT_EQ(TryCreatePort(port, 100), kStatusAccessDenied);
        EXPECT_EQ(TryConnect(), kStatusAccessDenied);
        EXPECT_EQ(CreateMutexW(nullptr, 0, u"Global\\M"), nullptr);
        EXPECT_EQ(OpenMutexW(0, 0, u"Global\\M"), nullptr);
    }
};

TEST_F(RunDirectoryTest, DirectoryOpenToOthersIsRefused) {
    for (const mode_t mode : {0710, 0701, 0777}) {
        ASSERT_EQ(::chmod(RunDirectory().c_str(), mode), 0);
        ExpectRefused();
    }
}

TEST_F(RunDirectoryTest, DirectoryOfAnotherUserIsRefused) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only root can give a directory away";
    }
    ASSERT_EQ(::chown(RunDirectory().c_str(), kNobody, kNobody), 0);
    ExpectRefused();
}

TEST_F(RunDirectoryTest, LinkToADirectoryIsRefused) {
    const std::string link = RunDirectory() + "-link";
    ASSERT_EQ(::symlink(RunDirectory().c_str(), link.c_str()), 0);
    ::setenv("KELCOMM_RUNTIME_DIR", link.c_str(), 1);
    ExpectRefused();
    EXPECT_EQ(::unlink(link.c_str()), 0);
}

TEST_F(RunDirectoryTest, FileThatSomebodyKeepsLockedHoldsNobodyUp) {
    const std::string path = Path("m.mutex");
    {
        const CFileDescriptor file(::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
        ASSERT_EQ(::flock(file.Get(), LOCK_EX), 0);
        EXPECT_EQ(OpenMutexW(0, 0, u"Global\\M"), nullptr);
        EXPECT_EQ(CreateMutexW(nullptr, 0, u"Global\\M"), nullptr);
    }
    const Handle mutex = CreateMutexW(nullptr, 0, u"Global\\M");
    EXPECT_NE(mutex, nullptr);
    CloseHandle(mutex);
}

TEST_F(RunDirectoryTest, MissingDirectoryIsMadePrivateByTheServer) {
    const std::string made = RunDirectory() + "-made";
    ::setenv("KELCOMM_RUNTIME_DIR", made.c_str(), 1);
    EXPECT_EQ(TryConnect(), kStatusObjectNameNotFound);
    const Handle server = CreatePort();
    struct stat info = {};
    EXPECT_EQ(::stat(made.c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0700u);
    CloseHandle(server);
    EXPECT_EQ(::rmdir(made.c_str()), 0);
}

}  // namespace

}  // namespace Kyr::Test
