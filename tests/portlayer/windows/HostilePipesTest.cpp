// Peers that break the rules in ways that only pipes know.
#include <limits>

#include "tests/portlayer/HostilePeers.h"
#include "tests/portlayer/windows/ContractPipe.h"

namespace Kyr::Test {

namespace {

using namespace NtApi;

TEST_F(HostileLpcClientTest, PacketLongerThanThePipeHoldsIsDropped) {
    CRawPeer client = CRawPeer::OfClient();
    EXPECT_FALSE(client.SendRaw(Bytes(4 << 20)));
    EXPECT_TRUE(client.IsDropped());
}

TEST_F(HostileAlpcClientTest, ViewWhoseNameDoesNotOpenIsDropped) {
    PortLayer::Detail::SharedMemory nothing;
    nothing.name = std::numeric_limits<std::uint64_t>::max();
    ExpectDropped(SendView(nothing, kSize, 100));
}

TEST_F(HostileServerTest, ServerThatTakesNobodyInEndsWithTheTime) {
    const CRawPeer server = CRawPeer::OfServer();
    const CRawPeer taken = CRawPeer::OfClient();
    EXPECT_EQ(TryConnect(std::chrono::milliseconds(50)), kStatusTimeout);
}

TEST_F(HostileServerTest, PipeWithoutMessagesIsRefused) {
    const auto server = ServeContractPipe(PIPE_TYPE_BYTE);
    EXPECT_EQ(TryConnect(), kStatusAccessDenied);
}

}  // namespace

}  // namespace Kyr::Test
