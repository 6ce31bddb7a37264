// The ports' functions as this system's ntdll has them. Wine lacks the advanced port's.
#include <gmock/gmock.h>

#include "ntapi/Status.h"
#include "portlayer/Diagnostics.h"
#include "portlayer/LiveCounters.h"
#include "portlayer/ServerFunctions.h"

namespace Kyr::PortLayer {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

TEST(SystemPortsTest, FunctionsThatTheSystemLacksAreNamed) {
    EXPECT_THAT(MissingFunctions(), HasSubstr("NtAlpcConnectPort, NtAlpcDisconnectPort"));
    EXPECT_THAT(MissingFunctions(), HasSubstr("NtAlpcAcceptConnectPort"));
}

TEST(SystemPortsTest, FunctionsThatTheSystemHasAreNotNamed) {
    EXPECT_THAT(MissingFunctions(), Not(HasSubstr("NtConnectPort")));
}

TEST(SystemPortsTest, FunctionThatTheSystemLacksIsNotImplemented) {
    Handle port = nullptr;
    NtApi::ObjectAttributes attributes{};
    AlpcPortAttributes portAttributes{};
    EXPECT_EQ(NtAlpcCreatePort(&port, &attributes, &portAttributes), NtApi::kStatusNotImplemented);
    EXPECT_EQ(AlpcGetMessageAttribute(nullptr, 0x40000000), nullptr);
}

TEST(SystemPortsTest, PortIsNotLookedForInTheLayer) {
    // The layer would not find the name. Wine has the function, and implements no port.
    Handle port = nullptr;
    UnicodeString name{};
    RtlInitUnicodeString(&name, u"\\BaseNamedObjects\\NobodyServesThis");
    EXPECT_NE(NtConnectPort(&port, &name, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr),
              NtApi::kStatusObjectNameNotFound);
    EXPECT_EQ(port, nullptr);
}

TEST(SystemPortsTest, NamesOfSharedMemoryAreTheSystemsOwn) {
    EXPECT_EQ(PlaceOfNames(), "the system");
    EXPECT_EQ(LiveObjects(), "");
}

}  // namespace
}  // namespace Kyr::PortLayer
