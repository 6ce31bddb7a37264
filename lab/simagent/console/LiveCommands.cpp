#include "lab/simagent/console/LiveCommands.h"

#include <stdexcept>

namespace Kyr::Lab::SimAgent {

namespace {

std::string TakeName(const Words& words) {
    RequireWords(words, 3);
    if (words.size() < 3) {
        return {};
    }
    const std::optional<std::string> name = ValueOf(words[2], "name");
    if (!name) {
        throw std::invalid_argument("not understood: " + words[2]);
    }
    return *name;
}

}  // namespace

ConsoleCommandGroup LiveCommands(CLiveTelemetry& telemetry, LineSink sink) {
    return {{"live", "live on [name=<program>] | off",
             "telemetry of the processes that start and end on this computer, or only of those of "
             "one program",
             [&telemetry, sink = std::move(sink)](const Words& words) {
                 const std::string what = words.size() > 1 ? words[1] : "";
                 if (what == "on") {
                     telemetry.Start(TakeName(words));
                 } else if (what == "off") {
                     RequireWords(words, 2);
                     telemetry.Stop();
                 } else {
                     throw std::invalid_argument("live is on or off");
                 }
                 sink(AnswerTo("live").With("state", what));
             }}};
}

}  // namespace Kyr::Lab::SimAgent
