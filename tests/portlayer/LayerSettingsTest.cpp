// What the client of a vanished server sees, as the layer's settings say.
#include "portlayer/LayerSettings.h"
#include "tests/portlayer/AlpcPortFixture.h"

namespace Kyr::Test {

namespace {

using namespace NtApi;

class LayerSettingsTest : public AlpcPortFixture {
  protected:
    void TearDown() override {
        PortLayer::SetAlpcServerGoneStatus(kStatusPortDisconnected);
        AlpcPortFixture::TearDown();
    }
    /// The status of a request whose server goes away while it waits.
    NtStatus AskAVanishingServer(Handle port) {
        Bytes reply;
        return Exchange(port, AlpcMessage(ToBytes("vanish")), reply);
    }
    /// A server that drops every client that asks.
    void ServeNobody() {
        Serve(OnRequests(
            [](ReceivedCall& call) { call.ports.NtAlpcDisconnectPort(call.client, 0); }));
    }
};
INSTANTIATE_TEST_SUITE_P(Layer, LayerSettingsTest, Backends(), BackendName);

TEST_P(LayerSettingsTest, WaitingClientOfAVanishedServerIsDisconnectedUnlessSet) {
    ServeNobody();
    const Handle port = Connect();
    EXPECT_EQ(AskAVanishingServer(port), static_cast<NtStatus>(0xC0000037));
    Ports().CloseHandle(port);
}

TEST_P(LayerSettingsTest, WaitingClientOfAVanishedServerLosesItsMessageWhenSo) {
    PortLayer::SetAlpcServerGoneStatus(kStatusMessageLost);
    ServeNobody();
    const Handle port = Connect();
    EXPECT_EQ(AskAVanishingServer(port), static_cast<NtStatus>(0xC0000701));
    Ports().CloseHandle(port);
}

TEST_P(LayerSettingsTest, LaterRequestsAreDisconnectedWhateverIsSet) {
    PortLayer::SetAlpcServerGoneStatus(kStatusMessageLost);
    ServeNobody();
    const Handle port = Connect();
    AskAVanishingServer(port);
    EXPECT_EQ(AskAVanishingServer(port), static_cast<NtStatus>(0xC0000037));
    Ports().CloseHandle(port);
}

TEST_P(LayerSettingsTest, SettingIsReadBack) {
    EXPECT_EQ(PortLayer::AlpcServerGoneStatus(), static_cast<NtStatus>(0xC0000037));
    PortLayer::SetAlpcServerGoneStatus(kStatusMessageLost);
    EXPECT_EQ(PortLayer::AlpcServerGoneStatus(), static_cast<NtStatus>(0xC0000701));
}

}  // namespace

}  // namespace Kyr::Test
