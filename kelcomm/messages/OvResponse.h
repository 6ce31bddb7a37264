// A response whose payload is one of the Ov agent's protobuf messages.
//
// A payload that does not parse raises no error: the reader sees whatever fields were decoded, in
// the worst case a message of defaults, which reads as served with no records. A task that finds
// none asks from the same offset again at its next trigger. One that ends early can be told from
// the others. Of a payload of very many and very short records the first ones are read.
// Threads: a message belongs to one thread at a time.
// Errors: std::runtime_error for a short reply.
#pragma once

#include <string_view>
#include <vector>

#include <boost/make_shared.hpp>
#include <boost/shared_ptr.hpp>

#include "connector/channel/ChannelMessage.h"
#include "host/proto/ov_agent.pb.h"
#include "kelcomm/messages/ProtobufFields.h"
#include "kelcomm/messages/ReplyReader.h"

namespace Kyr::Connectors::Common::Kelcomm::Messages {

template <typename Protobuf, Records records>
class COvResponse : public CChannelResponse {
  public:
    void Deserialize(const std::vector<unsigned char>& reply) override {
        CReplyReader reader(reply);
        if (reader.GetPayloadLength() == 0) {
            return;
        }
        const std::string_view whole = reader.ReadPayload();
        const std::string_view payload =
            FirstFields(whole, records, kMostFields + whole.size() / kBytesOfFurtherField);
        isCut_ = payload.size() < whole.size();
        response_ = boost::make_shared<Protobuf>();
        // Deliberate: whatever became of it, what could be read is taken.
        const bool parsed =
            response_->ParseFromArray(payload.data(), static_cast<int>(payload.size()));
        endsEarly_ = !parsed && Messages::EndsEarly(payload);
    }

    /// Empty when no reply carried a payload.
    boost::shared_ptr<Protobuf> GetResponse() const { return response_; }

    /// Whether the payload of that message had no end: its last record may lack a part.
    bool EndsEarly() const { return endsEarly_; }

    /// Whether that payload has records that were not read, since they are too many.
    bool IsCut() const { return isCut_; }

  private:
    // Our own limits for the memory that a payload of two-byte records takes: forty times its size.
    // One whose fields have eight bytes each, in the mean, is always read to its end.
    static constexpr std::size_t kMostFields = 1000000;
    static constexpr std::size_t kBytesOfFurtherField = 8;

    boost::shared_ptr<Protobuf> response_;
    bool endsEarly_ = false;
    bool isCut_ = false;
};

class CGetEcsIndicatorLogsResponse final : public COvResponse<GetEcsLogsResponse, Records::kTexts> {
};

class CGetEcsTelemetryLogsResponse final
    : public COvResponse<GetEcsTelemetryEventsResponse, Records::kTexts> {};

class CGetOvRemediationResponse final
    : public COvResponse<GetRemediationActionsResponse, Records::kMessages> {};

}  // namespace Kyr::Connectors::Common::Kelcomm::Messages
