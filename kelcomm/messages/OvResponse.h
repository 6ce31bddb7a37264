// A response whose payload is one of the Ov agent's protobuf messages.
//
// A payload that does not parse raises no error: the reader sees whatever fields were decoded, in
// the worst case a message of defaults, which reads as served with no records. A task that finds
// none asks from the same offset again at its next trigger.
// Threads: a message belongs to one thread at a time.
// Errors: std::runtime_error for a short reply.
#pragma once

#include <string_view>
#include <vector>

#include <boost/make_shared.hpp>
#include <boost/shared_ptr.hpp>

#include "connector/channel/ChannelMessage.h"
#include "host/proto/ov_agent.pb.h"
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
        response_->ParseFromArray(payload.data(), static_cast<int>(payload.size()));
    }

    /// Empty when no reply carried a payload.
    boost::shared_ptr<Protobuf> GetResponse() const { return response_; }

  private:
    boost::shared_ptr<Protobuf> response_;
};

class CGetEcsIndicatorLogsResponse final : public COvResponse<GetEcsLogsResponse> {};

class CGetEcsTelemetryLogsResponse final : public COvResponse<GetEcsTelemetryEventsResponse> {};

class CGetOvRemediationResponse final : public COvResponse<GetRemediationActionsResponse> {};

}  // namespace Kyr::Connectors::Common::Kelcomm::Messages
