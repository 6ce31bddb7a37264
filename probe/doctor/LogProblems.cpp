#include "probe/doctor/LogProblems.h"

namespace Kyr::Probe {

namespace {

constexpr char kProductLog[] = "see the product's own log";
constexpr char kRestartProduct[] = "see whether the product runs and answers";

constexpr LogProblem kProblems[] = {
    {"connector module failed with: CKelcommChannel: Send request failed with kelcomm error ",
     "the connection breaks off while it is made, with the client's code", kRestartProduct},
    {"Send request failed with 14,", "the product wants an administrator",
     "run the host as an administrator"},
    {"connector module failed with: CKelcommChannel: Send request failed with ",
     "the product refuses the last policy, or the agent's identity, whenever the connector "
     "connects: "
     "a policy of a wrong version, for example; its status is",
     "send a policy that this build takes"},
    {"Cannot start kelcomm channel", "the product did not answer for a minute", kRestartProduct},
    {"The registered product build", "the registered build cannot be read",
     "repair the product's value \"build\""},
    {"Set policy failed", "the product refused a policy", "send a policy that this build takes"},
    {"Policy is damaged: ", "a policy came damaged from the server", "send the policy again"},
    {"Policy is not sent: it is larger than ", "a policy was larger than may be sent, in bytes",
     "send a smaller policy"},
    {"Reply buffer exeeded allowed size", "a reply of the product was larger than 256 MiB",
     kProductLog},
    {"Reply header has wrong size", "a reply was not of this protocol", kProductLog},
    {"Buffer is not full enough", "a reply was shorter than it announces", kProductLog},
    {"Send request failed with kelcomm error ",
     "an exchange with the product failed, with the client's code", kRestartProduct},
    {"Send request failed with ", "the product refused a request, with status",
     "see the product's own log: a product that is older than the task refuses it"},
    {"Unknown protection status", "a status reply had a status that is none", kProductLog},
    {"badly formated uuids in user data", "an outcome had no three identifiers, and is lost",
     kProductLog},
    {"invalid uuid string", "an identifier is no UUID", "see the agent's instance and the task"},
    {"bad lexical cast", "the host's database has a position that is no number",
     "repair it: --database names the key"},
    {"OV Remediation: Failed to store", "the host's database refused remediation actions",
     "see the host's database"},
    {"OV rule actions flag is not a bool", "OV_REMEDIATION_ENABLED is neither 0 nor 1",
     "have the host write 1"},
    {"Failed to get ECS indicator logs from OVANTA Connector with code: ",
     "the product does not serve indicators, with result code", kProductLog},
    {"Failed to get ECS telemetry logs from OVANTA Connector with code: ",
     "the product does not serve telemetry, with result code", kProductLog},
    {"Failed to get remediation data from OV Connector with code: ",
     "the product does not serve actions, with result code", kProductLog},
    {"payload ends early", "a reply with records was cut", kProductLog},
    {"Get broadcast failed", "the broadcast area cannot be read", "restart the product"},
    {"Ping failed", "the product did not answer a ping", kRestartProduct},
    {"maximum retry count was reached", "a task was given up after its second failure",
     "send the task again when the cause is mended"},
    {"Message task was canceled because product is not available",
     "tasks were given up, since the product was not there", "send them again"},
    {"Product is not available, canceling tasks",
     "the host was stopped while the product was not there", "send the tasks again"},
    {"Connector was deactivated", "no product was installed when the host started",
     "install the product, then restart the host"},
    {"failed with an unknown exception", "something of the host failed without a text",
     "see the host's own log"},
};

}  // namespace

const LogProblem* FindLogProblem(const std::string& line) {
    for (const LogProblem& problem : kProblems) {
        if (line.find(problem.text) != std::string::npos) {
            return &problem;
        }
    }
    return nullptr;
}

std::string NumberBehind(const LogProblem& problem, const std::string& line) {
    const std::string text = problem.text;
    const std::size_t begin = line.find(text) + text.size();
    std::size_t end = begin;
    while (end < line.size() && line[end] >= '0' && line[end] <= '9') {
        ++end;
    }
    return text.back() == ' ' ? line.substr(begin, end - begin) : "";
}

}  // namespace Kyr::Probe
