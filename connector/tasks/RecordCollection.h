// What the tasks share that collect records from the Ov agent: each reads its reply, and looks
// first whether the product served its request.
//
// Threads: the task thread.
#pragma once

#include <vector>

#include <boost/shared_ptr.hpp>

#include "connector/ILogger.h"
#include "connector/channel/ChannelMessage.h"
#include "host/proto/ov_agent.pb.h"

namespace Kyr::Connectors::OvAgentConnector {

inline int CountRecords(const GetEcsLogsResponse& response) {
    return response.logs_size();
}
inline int CountRecords(const GetEcsTelemetryEventsResponse& response) {
    return response.telemetrylogs_size();
}
inline int CountRecords(const GetRemediationActionsResponse& response) {
    return response.actions_size();
}

/// Reads `reply` into `message`, a new response of the class `Response`, and returns the protobuf
/// message in it: empty when the reply has no payload. Throws std::runtime_error for a short reply.
/// Of a payload that ends early, or has too many records, what could be read is returned, with a
/// line that begins with `task`.
template <typename Response>
auto ReadRecords(const boost::shared_ptr<Common::IChannelMessage>& message,
                 const std::vector<unsigned char>& reply, const char* task,
                 Common::ILogger& logger) {
    auto& response = dynamic_cast<Response&>(*message);
    response.Deserialize(reply);
    auto records = response.GetResponse();
    if (response.EndsEarly()) {
        logger.GetLog(3) << task << ": payload ends early, " << CountRecords(*records)
                         << " records read";
    }
    if (response.IsCut()) {
        logger.GetLog(3) << task << ": too many records, " << CountRecords(*records)
                         << " records read";
    }
    return records;
}

/// What a task writes when it has nothing to pass on.
struct RefusalTexts {
    const char* noPayload;
    const char* resultCode;  // the code follows
};

/// Whether the product served the request; if not, writes why. `records` is what ReadRecords
/// returned.
template <typename Records>
bool IsServed(const Records& records, const RefusalTexts& texts, Common::ILogger& logger) {
    if (!records) {
        logger.GetLog(1) << texts.noPayload;
        return false;
    }
    if (records->result_code() != 0) {
        logger.GetLog(3) << texts.resultCode << records->result_code();
        return false;
    }
    return true;
}

}  // namespace Kyr::Connectors::OvAgentConnector
