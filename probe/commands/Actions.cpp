#include "probe/commands/Actions.h"

#include <boost/make_shared.hpp>

#include "kelcomm/messages/OvRequest.h"
#include "kelcomm/messages/OvResponse.h"
#include "probe/commands/ServedRecords.h"

namespace Kyr::Probe {

namespace {

namespace Messages = Connectors::Common::Kelcomm::Messages;

constexpr std::int32_t kBlockAction = 3;  // the product's number

void TellActions(const GetRemediationActionsResponse& actions, std::uint64_t from, Report& report) {
    std::uint64_t number = from;
    for (const RemediationAction& action : actions.actions()) {
        const bool isBlock = action.action_type() == kBlockAction;
        report.rows.push_back(
            {number++, std::int64_t{action.action_type()},
             isBlock ? "a block: the connector keeps it" : "passed over by the connector",
             std::uint64_t{action.ByteSizeLong()}});
    }
    TellCount(report, from);
}

}  // namespace

Question ActionsQuestion(std::uint64_t from) {
    auto request = boost::make_shared<GetRemediationActionsRequest>();
    request->set_offset(from);
    return {"actions", Messages::CGetOvRemediationRequest(request).Serialize(),
            [from](const Bytes& reply, Report& report) {
                report.columns = {{"number"}, {"type"}, {"meaning"}, {"bytes"}};
                const auto actions =
                    ReadServedRecords<Messages::CGetOvRemediationResponse>(reply, report);
                if (actions) {
                    TellActions(*actions, from, report);
                }
            }};
}

}  // namespace Kyr::Probe
