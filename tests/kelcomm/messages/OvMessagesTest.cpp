#include <boost/make_shared.hpp>

#include "kelcomm/messages/OvRequest.h"
#include "kelcomm/messages/OvResponse.h"
#include "tests/kelcomm/messages/MessageTest.h"

namespace Kyr::Connectors::Common::Kelcomm::Messages {
namespace {

using namespace Test;

/// The bytes of a request made with `offset`.
template <typename Request, typename Protobuf>
std::vector<unsigned char> RequestBytes(std::uint64_t offset) {
    auto protobuf = boost::make_shared<Protobuf>();
    protobuf->set_offset(offset);
    return Request(protobuf).Serialize();
}

constexpr auto IndicatorRequest = RequestBytes<CGetEcsIndicatorLogsRequest, GetEcsLogsRequest>;
constexpr auto TelemetryRequest =
    RequestBytes<CGetEcsTelemetryLogsRequest, GetEcsTelemetryEventsRequest>;
constexpr auto RemediationRequest =
    RequestBytes<CGetOvRemediationRequest, GetRemediationActionsRequest>;

/// A reply whose payload is these bytes.
std::vector<unsigned char> Payload(const std::string& hex) {
    const auto bytes = HexBytes(hex);
    return KelcommReply(0, static_cast<std::uint32_t>(bytes.size()), bytes);
}

/// A reply with so many actions that block.
std::vector<unsigned char> Actions(std::size_t count) {
    std::vector<unsigned char> bytes;
    for (std::size_t action = 0; action < count; ++action) {
        bytes.insert(bytes.end(), {0x0A, 0x02, 0x08, 0x03});
    }
    return KelcommReply(0, static_cast<std::uint32_t>(bytes.size()), bytes);
}

// Requests.

TEST(OvMessagesTest, OffsetZeroIsTheHeaderAlone) {
    EXPECT_EQ(IndicatorRequest(0), HexBytes("0C 00 00 00 00 06 00 01 00 00 10 00"));
    EXPECT_EQ(RemediationRequest(0), HexBytes("0C 00 00 00 00 06 00 01 01 00 10 00"));
    EXPECT_EQ(TelemetryRequest(0), HexBytes("0C 00 00 00 00 06 00 01 02 00 10 00"));
}

TEST(OvMessagesTest, OffsetFollowsTheHeaderToTheEnd) {
    // Field 1, varint 300.
    EXPECT_EQ(IndicatorRequest(300), HexBytes("0C 00 00 00 00 06 00 01 00 00 10 00  08 AC 02"));
    EXPECT_EQ(RemediationRequest(300), HexBytes("0C 00 00 00 00 06 00 01 01 00 10 00  08 AC 02"));
    EXPECT_EQ(TelemetryRequest(300), HexBytes("0C 00 00 00 00 06 00 01 02 00 10 00  08 AC 02"));
}

TEST(OvMessagesTest, LargestOffsetIsSentUnchanged) {
    EXPECT_EQ(IndicatorRequest(0xFFFFFFFFFFFFFFFF), HexBytes("0C 00 00 00 00 06 00 01 00 00 10 00"
                                                             "08 FF FF FF FF FF FF FF FF FF 01"));
}

TEST(OvMessagesTest, RequestMayBeSerializedAgain) {
    const CGetEcsIndicatorLogsRequest request(boost::make_shared<GetEcsLogsRequest>());
    EXPECT_EQ(request.Serialize(), request.Serialize());
}

// Responses.

TEST(OvMessagesTest, NewResponseHasNoMessage) {
    EXPECT_FALSE(CGetEcsIndicatorLogsResponse().GetResponse());
}

TEST(OvMessagesTest, ReplyWithoutPayloadHasNoMessage) {
    CGetEcsIndicatorLogsResponse response;
    response.Deserialize(EmptyReply());
    EXPECT_FALSE(response.GetResponse());
}

TEST(OvMessagesTest, IndicatorRecordsKeepTheirOrder) {
    CGetEcsIndicatorLogsResponse response;
    response.Deserialize(Payload("0A 01 62  0A 01 61  10 07"));
    ASSERT_EQ(response.GetResponse()->logs_size(), 2);
    EXPECT_EQ(response.GetResponse()->logs(0), "b");
    EXPECT_EQ(response.GetResponse()->logs(1), "a");
    EXPECT_EQ(response.GetResponse()->result_code(), 7u);
}

TEST(OvMessagesTest, TelemetryRecords) {
    CGetEcsTelemetryLogsResponse response;
    response.Deserialize(Payload("0A 02 7B 7D  10 FF FF FF FF 0F"));
    ASSERT_EQ(response.GetResponse()->telemetrylogs_size(), 1);
    EXPECT_EQ(response.GetResponse()->telemetrylogs(0), "{}");
    EXPECT_EQ(response.GetResponse()->result_code(), 0xFFFFFFFFu);
}

TEST(OvMessagesTest, RemediationActions) {
    CGetOvRemediationResponse response;
    response.Deserialize(Payload("0A 02 08 03  0A 00"));
    ASSERT_EQ(response.GetResponse()->actions_size(), 2);
    EXPECT_EQ(response.GetResponse()->actions(0).action_type(), 3);
    EXPECT_EQ(response.GetResponse()->actions(1).action_type(), 0);
    EXPECT_EQ(response.GetResponse()->result_code(), 0u);
}

TEST(OvMessagesTest, UnnamedFieldsOfAnActionSurvive) {
    CGetOvRemediationResponse response;
    response.Deserialize(Payload("0A 05 08 03 12 01 78"));  // field 2: "x"
    EXPECT_EQ(TextBytes(response.GetResponse()->actions(0).SerializeAsString()),
              HexBytes("08 03 12 01 78"));
}

TEST(OvMessagesTest, BytesBehindThePayloadAreIgnored) {
    CGetEcsIndicatorLogsResponse response;
    response.Deserialize(Payload("0A 01 61") + HexBytes("0A 01 62"));
    EXPECT_EQ(response.GetResponse()->logs_size(), 1);
}

TEST(OvMessagesTest, PayloadThatDoesNotParseIsNoError) {
    CGetEcsIndicatorLogsResponse response;
    response.Deserialize(Payload("10 07 0A 05 61"));  // a record of five bytes has one
    ASSERT_TRUE(response.GetResponse());
    EXPECT_EQ(response.GetResponse()->result_code(), 7u);
    response.Deserialize(Payload("FF"));
    ASSERT_TRUE(response.GetResponse());
    EXPECT_EQ(response.GetResponse()->result_code(), 0u);
    EXPECT_EQ(response.GetResponse()->logs_size(), 0);
}

TEST(OvMessagesTest, PayloadThatEndsEarlyIsTold) {
    CGetEcsIndicatorLogsResponse response;
    EXPECT_FALSE(response.EndsEarly());
    response.Deserialize(Payload("0A 01 61  0A 05 62"));
    EXPECT_TRUE(response.EndsEarly());
    response.Deserialize(EmptyReply());
    EXPECT_TRUE(response.EndsEarly());  // of the message that it still has
    response.Deserialize(Payload("0A 01 61"));
    EXPECT_FALSE(response.EndsEarly());
}

TEST(OvMessagesTest, DamagedPayloadDoesNotEndEarly) {
    CGetOvRemediationResponse response;
    response.Deserialize(Payload("0A 02 08 03  07"));
    EXPECT_EQ(response.GetResponse()->actions_size(), 1);
    EXPECT_FALSE(response.EndsEarly());
    response.Deserialize(Payload("0A 02 08 83"));  // an action with a number without an end
    EXPECT_FALSE(response.EndsEarly());
}

TEST(OvMessagesTest, FieldsInsideOfActionsCountAgainstThePayload) {
    // 600,000 actions of one field each, in 2.4 million bytes: 1.2 million of 1.3 million fields.
    CGetOvRemediationResponse response;
    response.Deserialize(Actions(600000));
    EXPECT_EQ(response.GetResponse()->actions_size(), 600000);
    EXPECT_FALSE(response.IsCut());
    // 1.4 million fields of 1.35 million.
    response.Deserialize(Actions(700000));
    EXPECT_EQ(response.GetResponse()->actions_size(), 675000);
    EXPECT_TRUE(response.IsCut());
    EXPECT_FALSE(response.EndsEarly());
}

TEST(OvMessagesTest, RecordsEndBeforeWhatFollowsATextThatIsNotUtf8) {
    CGetEcsIndicatorLogsResponse response;
    response.Deserialize(Payload("0A 01 61  0A 02 C3 28  0A 01 62  10 07"));
    // The parser keeps the text that it refused, and sees nothing behind it.
    ASSERT_EQ(response.GetResponse()->logs_size(), 2);
    EXPECT_EQ(response.GetResponse()->logs(1), "\xC3\x28");
    EXPECT_EQ(response.GetResponse()->result_code(), 0u);
}

TEST(OvMessagesTest, LargestPayloadLengthLeavesTheResponseEmpty) {
    CGetEcsIndicatorLogsResponse response;
    const auto reply = HexBytes("0C 00 00 00  00 00 00 00  FF FF FF FF  0A 01 61");
    EXPECT_EQ(Kyr::Test::ThrownText([&] { response.Deserialize(reply); }),
              Kyr::Test::kNotFullEnough);
    EXPECT_FALSE(response.GetResponse());
}

TEST(OvMessagesTest, SecondPayloadReplacesTheMessage) {
    CGetEcsIndicatorLogsResponse response;
    response.Deserialize(Payload("0A 01 61"));
    const auto first = response.GetResponse();
    response.Deserialize(Payload("10 01"));
    EXPECT_EQ(first->logs_size(), 1);  // who holds it keeps it
    EXPECT_EQ(response.GetResponse()->logs_size(), 0);
}

TEST(OvMessagesTest, EmptyReplyKeepsTheEarlierMessage) {
    CGetEcsIndicatorLogsResponse response;
    response.Deserialize(Payload("0A 01 61"));
    response.Deserialize(EmptyReply());
    EXPECT_EQ(response.GetResponse()->logs_size(), 1);
}

TEST(OvMessagesTest, ShortRepliesAreRefused) {
    ExpectShortRepliesAreRefused<CGetEcsIndicatorLogsResponse>();
    ExpectShortRepliesAreRefused<CGetEcsTelemetryLogsResponse>();
    ExpectShortRepliesAreRefused<CGetOvRemediationResponse>();
}

}  // namespace
}  // namespace Kyr::Connectors::Common::Kelcomm::Messages
