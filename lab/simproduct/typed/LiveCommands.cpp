#include "lab/simproduct/typed/LiveCommands.h"

#include <stdexcept>

#include "lab/simproduct/processes/Process.h"

namespace Kyr::Lab::SimProduct {

namespace {

TelemetryScope TakeScope(const Words& words) {
    TelemetryScope scope;
    for (std::size_t i = 2; i < words.size(); ++i) {
        if (const std::optional<std::string> name = ValueOf(words[i], "name")) {
            scope.program = *name;
        } else if (words[i] == "own") {
            scope.parentPid = OwnProcessId();
        } else {
            throw std::invalid_argument("not understood: " + words[i]);
        }
    }
    return scope;
}

}  // namespace

ConsoleCommandGroup LiveCommands(CLiveTelemetry& telemetry, LineSink sink) {
    return {{"live", "live on [name=<program>] [own] | off",
             "telemetry of the processes that start and end on this computer, or only of those of "
             "one program, or that this product starts",
             [&telemetry, sink = std::move(sink)](const Words& words) {
                 const std::string what = words.size() > 1 ? words[1] : "";
                 if (what == "on") {
                     telemetry.Start(TakeScope(words));
                 } else if (what == "off") {
                     RequireWords(words, 2);
                     telemetry.Stop();
                 } else {
                     throw std::invalid_argument("live is on or off");
                 }
                 sink(AnswerTo("live").With("state", what));
             }}};
}

}  // namespace Kyr::Lab::SimProduct
