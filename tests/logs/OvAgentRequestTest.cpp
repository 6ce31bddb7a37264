#include <gtest/gtest.h>

#include "logs/OvAgentRequest.h"
#include "tests/support/ThrownText.h"
#include "tests/support/host/TestMessage.h"

namespace Kyr::Common::Message::Connectors::OvAgentConnector {
namespace {

using Kernel::MessageType;
using Test::CTestMessage;
using Test::ThrownText;

COvAgentRequest RequestOf(std::int32_t requestType) {
    COvAgentRequest request;
    request.SetRequestType(requestType);
    return request;
}

TEST(OvAgentRequestTest, TypeAndNameAreTheHosts) {
    const COvAgentRequest request;
    EXPECT_EQ(static_cast<int>(request.GetMessageType()), 7);
    EXPECT_EQ(request.GetName(), "OvAgentRequest");
}

TEST(OvAgentRequestTest, NewRequestIsWritableAndOfType0) {
    const COvAgentRequest request;
    EXPECT_EQ(request.GetRequestType(), 0);
    EXPECT_FALSE(request.IsReadOnly());
}

TEST(OvAgentRequestTest, RequestTypesHaveTheHostsNumbers) {
    EXPECT_EQ(kProtectionStatus, 0);
    EXPECT_EQ(kTaskStatus, 2);
    EXPECT_EQ(kEcsIndicatorLogs, 3);
    EXPECT_EQ(kEcsTelemetryLogs, 4);
    EXPECT_EQ(kRemediationActions, 5);
}

TEST(OvAgentRequestTest, EqualityIsThatOfTheRequestType) {
    EXPECT_TRUE(RequestOf(3).Equals(RequestOf(3)));
    EXPECT_FALSE(RequestOf(3).Equals(RequestOf(4)));
}

TEST(OvAgentRequestTest, SameTypeOfAnotherClassIsNotEqual) {
    EXPECT_FALSE(RequestOf(0).Equals(CTestMessage(MessageType::OvAgentRequest, "impostor")));
}

TEST(OvAgentRequestTest, ReadOnlyRequestRefusesAnotherType) {
    COvAgentRequest request = RequestOf(3);
    request.SetReadOnly();
    EXPECT_EQ(ThrownText([&] { request.SetRequestType(4); }), "Message is read only");
    EXPECT_EQ(request.GetRequestType(), 3);
}

}  // namespace
}  // namespace Kyr::Common::Message::Connectors::OvAgentConnector
