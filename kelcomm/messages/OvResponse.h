// A response whose payload is one of the Ov agent's protobuf messages.
//
// A payload that does not parse raises no error: the reader sees whatever fields were decoded, in
// the worst case a message of defaults, which reads as served with no records. A task that finds
// none asks from the same offset again at its next trigger. One that ends early can be told from
// the others.
// Threads: a message belongs to one thread at a time.
// Errors: std::runtime_error for a short reply.
#pragma once

#include <string_view>
#include <vector>

#include <boost/make_shared.hpp>
#include <boost/shared_ptr.hpp>

#include "connector/channel/ChannelMessage.h"
#include "host/proto/ov_agent.pb.h"
#include "kelcomm/messages/ProtobufEnd.h"
#include "kelcomm/messages/ReplyReader.h"

namespace Kyr::Connectors::Common::Kelcomm::Messages {

template <typename Protobuf>
class COvResponse : public CChannelResponse {
  public:
    void Deserialize(const std::vector<unsigned char>& reply) override {
        CReplyReader reader(reply);
        if (reader.GetPayloadLength() == 0) {
            return;
        }
        const std::string_view payload = reader.ReadPayload();
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

  private:
    boost::shared_ptr<Protobuf> response_;
    bool endsEarly_ = false;
};

class CGetEcsIndicatorLogsResponse final : public COvResponse<GetEcsLogsResponse> {};

class CGetEcsTelemetryLogsResponse final : public COvResponse<GetEcsTelemetryEventsResponse> {};

class CGetOvRemediationResponse final : public COvResponse<GetRemediationActionsResponse> {};

}  // namespace Kyr::Connectors::Common::Kelcomm::Messages
