#include "probe/commands/Question.h"

#include <exception>

#include "kelcomm/client/PayloadHeader.h"

namespace Kyr::Probe {

Report Ask(CSession& session, const Question& question, bool raw) {
    Report report;
    report.command = question.command;
    const Bytes reply = session.Exchange(question.request);
    report.raw.assign(reply.begin(), reply.end());
    if (raw) {
        return report;
    }
    try {
        question.tell(reply, report);
    } catch (const std::exception& problem) {
        report.exit = kSomethingFound;
        report.problem =
            Problem{"wrong-reply", std::string("the reply of ") + std::to_string(reply.size()) +
                                       " bytes is malformed: " + problem.what()};
    }
    return report;
}

}  // namespace Kyr::Probe
