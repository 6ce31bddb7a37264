// Names that somebody else has taken, with the layer or without it.
#include "tests/portlayer/ServedPortFixture.h"
#include "tests/portlayer/windows/ContractPipe.h"

namespace Kyr::Test {

namespace {

using namespace NtApi;
using namespace PortLayer::Detail;

class ClaimedNameTest : public LpcPortFixture {
  protected:
    void ExpectCollision() {
        Handle port = nullptr;
        EXPECT_EQ(TryCreatePort(port, 100), kStatusObjectNameCollision);
        EXPECT_EQ(port, nullptr);
    }
    /// What the one who failed left behind would be in its own way now.
    void ExpectFree() {
        Handle port = nullptr;
        EXPECT_EQ(TryCreatePort(port, 100), kStatusSuccess);
        CloseHandle(port);
    }
};

TEST_F(ClaimedNameTest, ClaimOfAnotherIsACollisionUntilItEnds) {
    {
        const CSystemHandle claim =
            Own(::CreateEventW(nullptr, TRUE, FALSE, ContractClaim().c_str()));
        ASSERT_TRUE(claim.IsOpen());
        ExpectCollision();
    }
    ExpectFree();
}

TEST_F(ClaimedNameTest, ClaimWithoutAPipeIsNoPort) {
    const CSystemHandle claim = Own(::CreateEventW(nullptr, TRUE, FALSE, ContractClaim().c_str()));
    EXPECT_EQ(TryConnect(), kStatusObjectNameNotFound);
}

TEST_F(ClaimedNameTest, ObjectOfAnotherKindUnderTheNameIsACollision) {
    {
        const CSystemHandle mutex = Own(::CreateMutexW(nullptr, FALSE, ContractClaim().c_str()));
        ASSERT_TRUE(mutex.IsOpen());
        ExpectCollision();
    }
    ExpectFree();
}

TEST_F(ClaimedNameTest, PipeOfAnotherProgramIsACollision) {
    {
        const CSystemHandle pipe = ServeContractPipe(PIPE_TYPE_MESSAGE);
        ExpectCollision();
    }
    ExpectFree();
}

}  // namespace

}  // namespace Kyr::Test
