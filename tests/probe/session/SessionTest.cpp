#include <gtest/gtest.h>

#include "probe/session/NotReached.h"
#include "probe/session/Session.h"
#include "tests/support/product/InstalledProduct.h"
#include "tests/support/system/RunDirectory.h"

namespace Kyr::Probe {
namespace {

class SessionTest : public testing::Test {
  protected:
    const Kyr::Test::CInstalledProduct place_;
    const Kyr::Test::CRunDirectory directory_;
    CSession session_{OfThePortLayer()};

  private:
    static SessionOptions OfThePortLayer() {
        SessionOptions options;
        options.portLayer = true;
        return options;
    }
};

TEST_F(SessionTest, WithoutAProductEachUseSaysWhatIsMissing) {
    for (int i = 0; i < 2; ++i) {
        try {
            session_.Exchange({1, 2, 3});
            ADD_FAILURE() << "reached";
        } catch (const CNotReached& problem) {
            EXPECT_STREQ(problem.what(),
                         "product not reached: not registered: no product is installed on this "
                         "computer, and nobody serves its ports");
        }
        EXPECT_THROW(session_.Broadcast(2), CNotReached);
    }
}

TEST_F(SessionTest, PingThatFailsSaysSoWithoutAnException) {
    std::string why;
    EXPECT_FALSE(session_.Ping(why));
    EXPECT_EQ(why, "Ping (CCCOMM_PING) failed with 1, Legacy ping (CCCOMM_PING) failed with 1");
}

}  // namespace
}  // namespace Kyr::Probe
