// A request whose body is one of the Ov agent's protobuf messages; it runs to the end of the
// request, so that a message of defaults is no body at all.
//
// Made by the factory for the tasks that collect records: the protobuf message holds the offset
// from which they want them.
// Threads: a message belongs to one thread at a time.
// Ownership: shares the protobuf message, which nobody changes after the request was made.
#pragma once

#include <utility>
#include <vector>

#include <boost/shared_ptr.hpp>

#include "connector/channel/ChannelMessage.h"
#include "host/proto/ov_agent.pb.h"
#include "kelcomm/messages/CommandHeader.h"

namespace Kyr::Connectors::Common::Kelcomm::Messages {

template <typename Protobuf, Command command>
class COvRequest : public CChannelRequest {
  public:
    /// REQUIRES: `request` is not empty.
    explicit COvRequest(boost::shared_ptr<Protobuf> request) : request_(std::move(request)) {}

    std::vector<unsigned char> Serialize() const override {
        return MakeRequest(command, request_->SerializeAsString());
    }

  private:
    const boost::shared_ptr<Protobuf> request_;
};

class CGetEcsIndicatorLogsRequest final
    : public COvRequest<GetEcsLogsRequest, Command::GetEcsIndicatorLogs> {
  public:
    using COvRequest::COvRequest;
};

class CGetEcsTelemetryLogsRequest final
    : public COvRequest<GetEcsTelemetryEventsRequest, Command::GetEcsTelemetryLogs> {
  public:
    using COvRequest::COvRequest;
};

class CGetOvRemediationRequest final
    : public COvRequest<GetRemediationActionsRequest, Command::GetRemediationActions> {
  public:
    using COvRequest::COvRequest;
};

}  // namespace Kyr::Connectors::Common::Kelcomm::Messages
