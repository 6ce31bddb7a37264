#include <gmock/gmock.h>

#include "probe/session/PortPing.h"
#include "tests/support/product/InstalledProduct.h"
#include "tests/support/system/RunDirectory.h"

namespace Kyr::Probe {
namespace {

using NtApi::NtStatus;
using testing::HasSubstr;

class PortPingTest : public testing::Test {
  protected:
    static CNotReached Why(NtStatus connect, NtStatus exchange = NtApi::kStatusSuccess,
                           std::uint32_t code = 1) {
        PortTrace trace;
        trace.wasTried = true;
        trace.connect = connect;
        trace.exchange = exchange;
        return WhyNot(trace, "its port", code);
    }

    const Kyr::Test::CInstalledProduct place_;
    const Kyr::Test::CRunDirectory directory_;
};

TEST_F(PortPingTest, AbsentPortOfNoProductIsNotRegistered) {
    EXPECT_EQ(Why(NtApi::kStatusObjectNameNotFound).GetCause(), Cause::kNotRegistered);
    SessionOptions options;
    options.portLayer = true;
    const PingFinding finding = PingPort(Port::kLegacy, options);
    EXPECT_FALSE(finding.time.has_value());
    EXPECT_EQ(finding.cause, Cause::kNotRegistered);
    EXPECT_EQ(finding.serverProcess, 0u);
}

TEST_F(PortPingTest, LatestTraceIsOfThePortThatWasUsedLast) {
    SessionOptions options;
    options.portLayer = true;
    PingPort(Port::kLegacy, options);
    EXPECT_TRUE(LatestTrace().wasTried);
    ForgetTraces();
    EXPECT_FALSE(LatestTrace().wasTried);
}

TEST_F(PortPingTest, StatusOfTheConnectionTellsTheCause) {
    EXPECT_EQ(Why(NtApi::kStatusAccessDenied).GetCause(), Cause::kOtherUser);
    EXPECT_EQ(Why(NtApi::kStatusPortConnectionRefused).GetCause(), Cause::kRefused);
    EXPECT_EQ(Why(NtApi::kStatusUnsuccessful).GetCause(), Cause::kNoPorts);
    EXPECT_THAT(Why(NtApi::kStatusNoMemory).what(), HasSubstr("status C0000017"));
}

TEST_F(PortPingTest, ConnectionThatEndsIsNoAnswer) {
    const CNotReached why = Why(NtApi::kStatusSuccess, NtApi::kStatusPortDisconnected);
    EXPECT_EQ(why.GetCause(), Cause::kNotAnswering);
    EXPECT_STREQ(why.what(),
                 "product not reached: not answering: the connection ends without a reply: status "
                 "C0000037");
}

TEST_F(PortPingTest, CodeOfTheProductIsARefusal) {
    const CNotReached why = Why(NtApi::kStatusSuccess, NtApi::kStatusSuccess, 3);
    EXPECT_EQ(why.GetCause(), Cause::kRefused);
    EXPECT_EQ(why.GetReason(), "its port answers with code 3");
}

TEST_F(PortPingTest, PortThatWasThereBeforeHasGone) {
    PortTrace trace;
    trace.wasTried = true;
    trace.wasConnected = true;
    trace.connect = NtApi::kStatusObjectNameNotFound;
    EXPECT_EQ(WhyNot(trace, "its port", 1).GetReason(), "the product went away while it was asked");
}

}  // namespace
}  // namespace Kyr::Probe
