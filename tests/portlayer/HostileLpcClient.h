// A legacy port whose clients break the layer's own protocol: whatever one of them does, the next
// one is served.
#pragma once

#include "ntapi/PortMessage.h"
#include "tests/portlayer/LpcPortFixture.h"

namespace Kyr::Test {

class HostileLpcClientFixture : public LpcPortFixture {
  protected:
    void SetUp() override {
        LpcPortFixture::SetUp();
        Serve([](LpcCall& call) {
            if (Kind(call.message.data()) == NtApi::kLpcRequest) {
                call.Reply(call.Data());
            }
        });
    }
    void TearDown() override {
        const Handle port = Connect();
        EXPECT_EQ(Ask(port, ToBytes("x")), ToBytes("x")) << "others are not served";
        CloseHandle(port);
        LpcPortFixture::TearDown();
    }

    /// A message without data.
    Bytes message_ = LpcMessage({});
};

}  // namespace Kyr::Test
