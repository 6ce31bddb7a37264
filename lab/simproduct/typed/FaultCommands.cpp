#include <stdexcept>

#include "lab/simproduct/typed/TypedCommands.h"

namespace Kyr::Lab::SimProduct {

namespace {

void Change(CMisbehaviours& misbehaviours, std::vector<std::string> words) {
    if (words.front() != "clear") {
        misbehaviours.Add(ParseMisbehaviour(words));
    } else if (words.size() == 1) {
        misbehaviours.Clear();
    } else if (const Fault* const fault = FindFault(words[1]);
               fault != nullptr && words.size() == 2) {
        misbehaviours.Clear(fault);
    } else {
        throw std::invalid_argument("no such fault; `help` lists them");
    }
}

}  // namespace

void OpenPorts(const CMisbehaviours& misbehaviours, CPortServer& alpc, CPortServer& lpc) {
    const auto apply = [&](Transport transport, CPortServer& port) {
        const bool wanted = misbehaviours.Offers(transport);
        if (wanted && !port.IsOpen()) {
            port.Open();
        } else if (!wanted && port.IsOpen()) {
            port.Close();
        }
    };
    apply(Transport::kAlpc, alpc);
    apply(Transport::kLpc, lpc);
}

ConsoleCommandGroup FaultCommands(CMisbehaviours& misbehaviours, CPortServer& alpc,
                                  CPortServer& lpc) {
    const auto run = [&](CCommandWords& words, const LineSink& tell) {
        if (!words.IsEmpty()) {
            Change(misbehaviours, words.TakeRest());
        }
        OpenPorts(misbehaviours, alpc, lpc);
        const std::vector<Misbehaviour> active = misbehaviours.List();
        for (const Misbehaviour& one : active) {
            tell(AnswerTo("misbehave").With("fault", one.Text()));
        }
        tell(AnswerTo("misbehave").With("faults", active.size()));
    };
    ConsoleCommandGroup rows = {
        {"misbehave",
         "[<fault> [n|<bytes>] [for=<count>] [transport=alpc|lpc] [command=<n>|any] [inner=<n>] "
         "[function=<name>] | clear [<fault>]]",
         "Does that wrong with the next requests, or no more; tells what is done wrong.", run}};
    for (const auto& [words, text] : DescribeFaults()) {
        rows.push_back({"misbehave", words, text, run});
    }
    return rows;
}

}  // namespace Kyr::Lab::SimProduct
