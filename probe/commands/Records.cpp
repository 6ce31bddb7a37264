#include "probe/commands/Records.h"

#include <boost/make_shared.hpp>

#include "kelcomm/messages/OvRequest.h"
#include "kelcomm/messages/OvResponse.h"
#include "probe/commands/ServedRecords.h"

namespace Kyr::Probe {

namespace {

namespace Messages = Connectors::Common::Kelcomm::Messages;

const auto& TextsOf(const GetEcsLogsResponse& records) {
    return records.logs();
}
const auto& TextsOf(const GetEcsTelemetryEventsResponse& records) {
    return records.telemetrylogs();
}

template <typename Request, typename Response>
Question RecordsQuestion(const char* command, Request&& request, std::uint64_t from) {
    return {command, request.Serialize(), [from](const Bytes& reply, Report& report) {
                report.columns = {{"number"}, {"record", true}};
                const auto records = ReadServedRecords<Response>(reply, report);
                if (!records) {
                    return;
                }
                std::uint64_t number = from;
                for (const std::string& text : TextsOf(*records)) {
                    report.rows.push_back({number++, text});
                }
                TellCount(report, from);
            }};
}

template <typename Protobuf>
boost::shared_ptr<Protobuf> From(std::uint64_t from) {
    auto request = boost::make_shared<Protobuf>();
    request->set_offset(from);
    return request;
}

}  // namespace

Question IndicatorsQuestion(std::uint64_t from) {
    using Messages::CGetEcsIndicatorLogsRequest;
    return RecordsQuestion<CGetEcsIndicatorLogsRequest, Messages::CGetEcsIndicatorLogsResponse>(
        "indicators", CGetEcsIndicatorLogsRequest(From<GetEcsLogsRequest>(from)), from);
}

Question TelemetryQuestion(std::uint64_t from) {
    using Messages::CGetEcsTelemetryLogsRequest;
    return RecordsQuestion<CGetEcsTelemetryLogsRequest, Messages::CGetEcsTelemetryLogsResponse>(
        "telemetry", CGetEcsTelemetryLogsRequest(From<GetEcsTelemetryEventsRequest>(from)), from);
}

}  // namespace Kyr::Probe
