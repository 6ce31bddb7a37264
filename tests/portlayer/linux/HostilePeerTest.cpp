// Peers that break the layer's own protocol, and peers of other users. Linux only: they speak to
// the sockets themselves.
#include <fcntl.h>
#include <grp.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/portlayer/ChildProcess.h"
#include "tests/portlayer/HostileLpcClient.h"
#include "tests/portlayer/linux/RawPeer.h"

namespace Kyr::Test {

namespace {

using namespace NtApi;
using namespace PortLayer::Detail;

constexpr uid_t kNobody = 65534;

class HostileLpcClientTest : public HostileLpcClientFixture {};

TEST_F(HostileLpcClientTest, GarbageIsDropped) {
    for (const Bytes& garbage :
         {Bytes{1}, Bytes(sizeof(PacketHead)), Pattern(sizeof(PacketHead)), Pattern(70000)}) {
        CRawClient client(RunDirectory());
        client.SendRaw(garbage);
        EXPECT_TRUE(client.IsDropped());
    }
}

TEST_F(HostileLpcClientTest, RequestBeforeTheConnectionIsDropped) {
    CRawClient client(RunDirectory());
    OutgoingPacket packet(PacketKind::kRequest);
    packet.SetMessage(message_.data(), LpcLayout::kHeaderSize);
    client.Send(packet);
    EXPECT_TRUE(client.IsDropped());
}

TEST_F(HostileLpcClientTest, SecondConnectionRequestIsDropped) {
    CRawClient client(RunDirectory());
    client.Handshake(PortDialect::kLpc);
    OutgoingPacket packet(PacketKind::kConnect);
    packet.SetMessage(message_.data(), LpcLayout::kHeaderSize);
    client.Send(packet);
    EXPECT_TRUE(client.IsDropped());
}

TEST_F(HostileLpcClientTest, MessageWhoseLengthsLieIsDropped) {
    for (const std::uint16_t total : {0, 39, 41, 648, 0xFFFF}) {
        CRawClient client(RunDirectory());
        client.Handshake(PortDialect::kLpc);
        Put(message_.data(), 2, total);
        OutgoingPacket packet(PacketKind::kRequest);
        packet.SetMessage(message_.data(), LpcLayout::kHeaderSize);
        client.Send(packet);
        EXPECT_TRUE(client.IsDropped()) << total;
    }
}

TEST_F(HostileLpcClientTest, EntriesBeyondTheBlockAreDropped) {
    std::uint8_t byte = 0;
    for (const std::uint32_t entry : {1u, 0xFFFFFFFFu}) {
        CRawClient client(RunDirectory());
        client.Handshake(PortDialect::kLpc);
        Bytes request = LpcMessageWithEntries({{&byte, 1}});
        OutgoingPacket packet(PacketKind::kRequest);
        packet.SetMessage(request.data(), Get<std::uint16_t>(request.data(), 2));
        packet.AddInline(entry, &byte, 1);
        client.Send(packet);
        EXPECT_TRUE(client.IsDropped());
    }
}

TEST_F(HostileLpcClientTest, EntryOfAnotherSizeIsDropped) {
    CRawClient client(RunDirectory());
    client.Handshake(PortDialect::kLpc);
    std::uint8_t bytes[2] = {};
    Bytes request = LpcMessageWithEntries({{bytes, 2}});
    OutgoingPacket packet(PacketKind::kRequest);
    packet.SetMessage(request.data(), Get<std::uint16_t>(request.data(), 2));
    packet.AddInline(0, bytes, 1);
    client.Send(packet);
    EXPECT_TRUE(client.IsDropped());
}

class HostileAlpcClientTest : public AlpcPortFixture {
  protected:
    void SetUp() override {
        AlpcPortFixture::SetUp();
        Serve([this](ReceivedCall& call) { views_ += call.attributes.HasView() ? 1 : 0; });
    }
    /// Sends a view in this memory and expects to be dropped without the server seeing a view.
    void ExpectDropped(int memory, std::uint64_t slotSize, std::uint64_t viewSize) {
        CRawClient client(RunDirectory());
        client.Handshake(PortDialect::kAlpc);
        const Bytes message = Message(24, {}, 24);
        OutgoingPacket packet(PacketKind::kDatagram);
        packet.SetMessage(message.data(), message.size());
        packet.SetView(3, viewSize, 0);
        packet.head.viewSlotSize = slotSize;
        client.SendWithDescriptor(packet, memory);
        EXPECT_TRUE(client.IsDropped());
        StopServer();
        EXPECT_EQ(views_, 0);
    }
    static CFileDescriptor Memory(std::size_t size, unsigned seals) {
        CFileDescriptor memory(::memfd_create("hostile", MFD_CLOEXEC | MFD_ALLOW_SEALING));
        EXPECT_EQ(::ftruncate(memory.Get(), static_cast<off_t>(size)), 0);
        EXPECT_EQ(::fcntl(memory.Get(), F_ADD_SEALS, seals), 0);
        return memory;
    }
    int views_ = 0;
};

TEST_F(HostileAlpcClientTest, MemoryThatCouldShrinkIsDropped) {
    ExpectDropped(Memory(65536, 0).Get(), 65536, 100);
}

TEST_F(HostileAlpcClientTest, MemorySmallerThanAnnouncedIsDropped) {
    ExpectDropped(Memory(65536, F_SEAL_SHRINK).Get(), 65537, 100);
}

TEST_F(HostileAlpcClientTest, ViewLargerThanItsMemoryIsDropped) {
    ExpectDropped(Memory(65536, F_SEAL_SHRINK).Get(), 65536, 65537);
}

TEST_F(HostileAlpcClientTest, DescriptorThatIsNoMemoryIsDropped) {
    ExpectDropped(STDIN_FILENO, 65536, 100);
}

TEST_F(HostileAlpcClientTest, UnknownSlotIsDropped) {
    CRawClient client(RunDirectory());
    client.Handshake(PortDialect::kAlpc);
    PacketHead head = {};
    const Bytes message = Message(24, {}, 24);
    OutgoingPacket packet(PacketKind::kDatagram);
    packet.SetMessage(message.data(), message.size());
    packet.SetView(3, 100, 0);
    head = packet.head;
    Bytes bytes(sizeof head + 24);
    std::memcpy(bytes.data(), &head, sizeof head);
    std::memcpy(bytes.data() + sizeof head, message.data(), 24);
    client.SendRaw(bytes);
    EXPECT_TRUE(client.IsDropped());
}

TEST_F(HostileAlpcClientTest, OtherUsersClientIsTurnedAway) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only root can become another user";
    }
    // The directory would keep the other user out already: open it, to meet the second check.
    ASSERT_EQ(::chmod(RunDirectory().c_str(), 0711), 0);
    ASSERT_EQ(::chmod(SocketPath(RunDirectory()).c_str(), 0777), 0);
    const pid_t child = ::fork();
    if (child == 0) {
        if (::setgroups(0, nullptr) != 0 || ::setuid(kNobody) != 0) {
            ::_exit(2);
        }
        CRawClient client(RunDirectory());
        ::_exit(client.IsDropped() ? 0 : 1);
    }
    int status = -1;
    ::waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
    ASSERT_EQ(::chmod(RunDirectory().c_str(), 0700), 0);
}

class HostileServerTest : public RawServerFixture {
  protected:
    /// Connects, asks, and expects the connection to be given up.
    void ExpectGivenUp(std::thread server) {
        AlpcPortFixture::ExpectGivenUp();
        server.join();
    }
};

TEST_F(HostileServerTest, GarbageEndsTheConnection) {
    ExpectGivenUp(RawServer([this](CSocketChannel& client) {
        Await(client);
        ::send(client.Socket(), "garbage", 7, MSG_NOSIGNAL);
    }));
}

TEST_F(HostileServerTest, ReplyWithoutAHeaderEndsTheConnection) {
    ExpectGivenUp(RawServer([this](CSocketChannel& client) {
        OutgoingPacket packet(PacketKind::kReply);
        packet.head.exchange = Await(client).exchange;
        packet.SetMessage("short", 5);
        Send(client, packet);
    }));
}

TEST_F(HostileServerTest, ReplyShorterThanItSaysEndsTheConnection) {
    ExpectGivenUp(RawServer([this](CSocketChannel& client) {
        const Bytes message = Message(24, {}, 30);
        OutgoingPacket packet(PacketKind::kReply);
        packet.head.exchange = Await(client).exchange;
        packet.SetMessage(message.data(), message.size());
        Send(client, packet);
    }));
}

TEST_F(HostileServerTest, IdOfAnUnreleasedReplyUsedAgainEndsTheConnection) {
    const auto reply = [this](CSocketChannel& client) {
        const Bytes message = Message(24, {}, 24);
        OutgoingPacket packet(PacketKind::kReply);
        packet.head.exchange = Await(client).exchange;
        packet.head.flags = kPacketContinuation;
        packet.SetMessage(message.data(), message.size());
        Send(client, packet);
    };
    std::thread server = RawServer([&](CSocketChannel& client) {
        reply(client);
        reply(client);
    });
    const Handle port = Connect();
    Bytes first;
    Bytes second;
    EXPECT_EQ(Exchange(port, AlpcMessage({}), first), kStatusSuccess);
    EXPECT_EQ(Exchange(port, AlpcMessage({}), second), kStatusPortDisconnected);
    EXPECT_EQ(Release(port, first, nullptr), kStatusSuccess);
    CloseHandle(port);
    server.join();
}

TEST_F(HostileServerTest, WriteToAnEntryThatWasNotOfferedEndsTheConnection) {
    ExpectGivenUp(RawServer([this](CSocketChannel& client) {
        const Bytes message = Message(24, {}, 24);
        OutgoingPacket packet(PacketKind::kReply);
        packet.head.exchange = Await(client).exchange;
        packet.SetMessage(message.data(), message.size());
        packet.AddInline(0, "x", 1);
        Send(client, packet);
    }));
}

TEST_F(HostileServerTest, OtherUsersServerIsRefused) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only root can become another user";
    }
    CChildProcess server([this](CChildProcess& self) {
        // Bound by root, so that it stands in root's directory; served by another.
        sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        std::strcpy(address.sun_path, SocketPath(RunDirectory()).c_str());
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
    Handle port = nullptr;
    EXPECT_EQ(TryConnect(port), kStatusAccessDenied);
}

class RunDirectoryTest : public LpcPortFixture {
  protected:
    void ExpectRefused() {
        Handle port = nullptr;
        EXPECT_EQ(NtCreatePort(&port, Attributes(), 0, 100, 0), kStatusAccessDenied);
        EXPECT_EQ(TryConnect(port), kStatusAccessDenied);
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
    const std::string path = RunDirectory() + "/m.mutex";
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
    Handle port = nullptr;
    EXPECT_EQ(TryConnect(port), kStatusObjectNameNotFound);
    const Handle server = CreatePort();
    struct stat info = {};
    EXPECT_EQ(::stat(made.c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0700u);
    CloseHandle(server);
    EXPECT_EQ(::rmdir(made.c_str()), 0);
}

}  // namespace

}  // namespace Kyr::Test
