#include <gtest/gtest.h>

#include "host/message/ApplyPolicy.h"
#include "host/message/ConnectorRequests.h"
#include "host/message/RequestConfigurationMessage.h"
#include "tests/support/ThrownText.h"

namespace Kyr::Common::Message {
namespace {

using Configuration::CRequestConfigurationMessage;
using Connectors::TCHConnector::CTchRequest;
using Connectors::TFDEConnector::CTFDERequest;
using Kernel::MessageType;
using Policies::CApplyPolicy;
using Test::ThrownText;

CApplyPolicy PolicyOf(const std::string& blob) {
    CApplyPolicy policy;
    policy.SetPolicyBlob(blob);
    return policy;
}

TEST(ApplyPolicyTest, TypeNameAndPolicy) {
    const CApplyPolicy policy = PolicyOf("blob");
    EXPECT_EQ(policy.GetMessageType(), MessageType::ApplyPolicy);
    EXPECT_EQ(policy.GetName(), "ApplyPolicy");
    EXPECT_EQ(policy.GetPolicyBlob(), "blob");
}

TEST(ApplyPolicyTest, EqualityIsThatOfThePolicy) {
    EXPECT_TRUE(PolicyOf("blob").Equals(PolicyOf("blob")));
    EXPECT_FALSE(PolicyOf("blob").Equals(PolicyOf("other")));
    EXPECT_FALSE(PolicyOf("").Equals(CTchRequest()));
}

TEST(ApplyPolicyTest, ReadOnlyPolicyRefusesChanges) {
    CApplyPolicy policy = PolicyOf("blob");
    policy.SetReadOnly();
    EXPECT_EQ(ThrownText([&] { policy.SetPolicyBlob("other"); }), "Message is read only");
    EXPECT_EQ(policy.GetPolicyBlob(), "blob");
}

CRequestConfigurationMessage RequestFor(int productType, const std::string& third = "third") {
    CTask::Uuid ids[3];
    ids[0].set_uuid("first");
    ids[1].set_uuid("second");
    ids[2].set_uuid(third);
    CRequestConfigurationMessage::Payload payload;
    payload.set_producttype(productType);
    CRequestConfigurationMessage request;
    request.SetIdentifiers(ids[0], ids[1], ids[2]);
    request.SetPayload(payload);
    return request;
}

TEST(RequestConfigurationMessageTest, TypeNameAndPayload) {
    const CRequestConfigurationMessage request = RequestFor(17);
    EXPECT_EQ(request.GetMessageType(), MessageType::RequestConfiguration);
    EXPECT_EQ(request.GetName(), "RequestConfiguration");
    EXPECT_EQ(request.GetPayload().producttype(), 17);
    EXPECT_FALSE(CRequestConfigurationMessage().GetPayload().has_producttype());
}

TEST(RequestConfigurationMessageTest, EqualityIsThatOfIdentifiersAndPayload) {
    EXPECT_TRUE(RequestFor(17).Equals(RequestFor(17)));
    EXPECT_FALSE(RequestFor(17).Equals(RequestFor(9)));
    EXPECT_FALSE(RequestFor(17).Equals(RequestFor(17, "other")));
    EXPECT_FALSE(RequestFor(17).Equals(PolicyOf("")));
}

TEST(RequestConfigurationMessageTest, ReadOnlyRequestRefusesChanges) {
    CRequestConfigurationMessage request = RequestFor(17);
    request.SetReadOnly();
    EXPECT_EQ(ThrownText([&] { request.SetPayload({}); }), "Message is read only");
}

template <typename Request>
class ConnectorRequestTest : public testing::Test {
  protected:
    static Request OfType(std::int32_t type) {
        Request request;
        request.SetRequestType(type);
        return request;
    }
};

using Requests = testing::Types<CTFDERequest, CTchRequest>;
TYPED_TEST_SUITE(ConnectorRequestTest, Requests, );

TYPED_TEST(ConnectorRequestTest, RequestTypeComesBack) {
    EXPECT_EQ(TypeParam().GetRequestType(), 0);
    EXPECT_EQ(this->OfType(-3).GetRequestType(), -3);
}

TYPED_TEST(ConnectorRequestTest, EqualityIsThatOfTheRequestType) {
    EXPECT_TRUE(this->OfType(2).Equals(this->OfType(2)));
    EXPECT_FALSE(this->OfType(2).Equals(this->OfType(1)));
    EXPECT_FALSE(this->OfType(2).Equals(PolicyOf("")));
}

TYPED_TEST(ConnectorRequestTest, ReadOnlyRequestRefusesChanges) {
    TypeParam request;
    request.SetReadOnly();
    EXPECT_EQ(ThrownText([&] { request.SetRequestType(1); }), "Message is read only");
}

TEST(ConnectorRequestsTest, TypesAndNames) {
    EXPECT_EQ(CTFDERequest().GetMessageType(), MessageType::TFDERequest);
    EXPECT_EQ(CTFDERequest().GetName(), "TFDERequest");
    EXPECT_EQ(CTchRequest().GetMessageType(), MessageType::TchRequest);
    EXPECT_EQ(CTchRequest().GetName(), "TchRequest");
    EXPECT_FALSE(CTFDERequest().Equals(CTchRequest()));
}

}  // namespace
}  // namespace Kyr::Common::Message
