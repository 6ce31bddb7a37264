#include "probe/commands/Policy.h"

#include <sstream>

#include "kelcomm/messages/ExportConfiguration.h"

namespace Kyr::Probe {

namespace {

namespace Messages = Connectors::Common::Kelcomm::Messages;

}  // namespace

Question PolicyQuestion() {
    return {"policy", Messages::CExportConfigurationRequest().Serialize(),
            [](const Bytes& reply, Report& report) {
                report.columns = {{"line"}, {"text", true}};
                Messages::CExportConfigurationResponse response;
                response.Deserialize(reply);
                std::istringstream lines(response.GetConfiguration());
                std::uint64_t number = 0;
                for (std::string line; std::getline(lines, line);) {
                    report.rows.push_back({++number, line});
                }
                report.notes.push_back("The configuration has " +
                                       std::to_string(response.GetConfiguration().size()) +
                                       " bytes.");
            }};
}

}  // namespace Kyr::Probe
