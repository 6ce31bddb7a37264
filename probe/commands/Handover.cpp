#include "probe/commands/Handover.h"

#include "connector/tasks/PolicyBlob.h"
#include "kelcomm/messages/ImportConfigurationRequest.h"
#include "kelcomm/messages/SendAgentUUIDRequest.h"
#include "probe/commands/Identifiers.h"
#include "probe/commands/WrongUsage.h"

namespace Kyr::Probe {

namespace {

namespace Messages = Connectors::Common::Kelcomm::Messages;
namespace Tasks = Connectors::Common::Tasks;

std::string TextOfBlob(const std::string& blob) {
    const Tasks::PolicyText policy = Tasks::ReadPolicyBlob(blob);
    // The connector passes on what it can read of a damaged one; by hand that is no help.
    if (!policy.damage.empty() || !policy.text) {
        throw CWrongUsage("policy is not sent: " +
                          (policy.text ? policy.damage : std::string("it is too large")));
    }
    return *policy.text;
}

Report Accepted(const char* command, const Bytes& reply, const std::string& note) {
    Report report;
    report.command = command;
    report.raw.assign(reply.begin(), reply.end());
    report.notes.push_back(note);
    return report;
}

}  // namespace

Report ImportConfiguration(CSession& session, const std::string& bytes, bool isBlob) {
    const std::string text = isBlob ? TextOfBlob(bytes) : bytes;
    if (text.size() > Tasks::kLargestPolicy) {
        throw CWrongUsage("policy is not sent: it is too large");
    }
    const Bytes reply = session.Exchange(Messages::CImportConfigurationRequest(text).Serialize());
    return Accepted("import", reply,
                    "Accepted: a configuration of " + std::to_string(text.size()) + " bytes.");
}

Report AnnounceInstance(CSession& session, const std::string& uuid) {
    const Bytes reply =
        session.Exchange(Messages::CSendAgentUUIDRequest(CheckedUuid(uuid)).Serialize());
    return Accepted("announce", reply,
                    "Accepted: the product takes " + uuid +
                        " for the instance, until the "
                        "connector connects next.");
}

}  // namespace Kyr::Probe
