// Handles of ports and connections of both kinds are of the same classes here. A call takes ports
// and clients of its own kind alone; the system itself may take one kind for the other.
#include "tests/portlayer/ServedPortFixture.h"

namespace Kyr::Test {

namespace {

using namespace NtApi;

class LegacyHandleTest : public LpcPortFixture {};
class AdvancedHandleTest : public AlpcPortFixture {};

TEST_F(LegacyHandleTest, CallsOnAdvancedPortsDoNotTakeIt) {
    Serve(OnRequests(Echo));
    const Handle port = Connect();
    Bytes message = AlpcMessage({});
    EXPECT_EQ(NtAlpcSendWaitReceivePort(port, kAlpcReleaseMessage, message.data(), nullptr, nullptr,
                                        nullptr, nullptr, nullptr),
              kStatusInvalidHandle);
    Handle section = nullptr;
    EXPECT_EQ(
        NtAlpcCreatePortSection(port, kAlpcPortSectionSecure, nullptr, 100, &section, nullptr),
        kStatusInvalidHandle);
    EXPECT_EQ(NtAlpcDisconnectPort(port, 0), kStatusInvalidHandle);
    EXPECT_EQ(Ask(port, ToBytes("x")), ToBytes("x"));
}

TEST_F(LegacyHandleTest, AdvancedReceiveDoesNotTakeItsPort) {
    Bytes message(kAlpcMaxMessage);
    std::size_t length = message.size();
    std::int64_t atOnce = 0;
    EXPECT_EQ(NtAlpcSendWaitReceivePort(CreatePort(), 0, nullptr, nullptr, message.data(), &length,
                                        nullptr, &atOnce),
              kStatusInvalidHandle);
}

TEST_F(AdvancedHandleTest, CallsOnLegacyPortsDoNotTakeIt) {
    Serve(OnRequests(Echo));
    const Handle port = Connect();
    Bytes message = LpcMessage({});
    EXPECT_EQ(NtRequestPort(port, message.data()), kStatusInvalidHandle);
    EXPECT_EQ(NtRequestWaitReplyPort(port, message.data(), message.data()), kStatusInvalidHandle);
    EXPECT_EQ(Ask(port, ToBytes("x")), ToBytes("x"));
}

TEST_F(AdvancedHandleTest, LegacyReceiveDoesNotTakeItsPort) {
    Bytes message(LpcLayout::kMaxMessage);
    std::int64_t atOnce = 0;
    EXPECT_EQ(NtReplyWaitReceivePortEx(CreatePort(), nullptr, nullptr, message.data(), &atOnce),
              kStatusInvalidHandle);
}

}  // namespace

}  // namespace Kyr::Test
