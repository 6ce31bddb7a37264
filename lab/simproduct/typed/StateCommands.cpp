#include <Poco/NumberFormatter.h>
#include <stdexcept>

#include <boost/lexical_cast/try_lexical_convert.hpp>

#include "lab/simproduct/state/Registration.h"
#include "lab/simproduct/typed/TypedCommands.h"

namespace Kyr::Lab::SimProduct {

namespace {

std::string HexText(std::uint64_t value) {
    return Poco::NumberFormatter::formatHex(value, true);
}

void SetComponent(CProtection& protection, CCommandWords& words) {
    Component component = protection.Named(words.TakeWord("component"));
    component.status = ParseNumber32(words.TakeWord("status"));
    component.category = words.TakeNumber("category").value_or(component.category);
    component.statusText = words.TakeNumber("text").value_or(component.statusText);
    if (const auto description = words.TakeNumber("description")) {
        component.description = description;
    }
    words.Finish();
    protection.Set(component);
}

void ChangeProtection(CProtection& protection, CCommandWords& words) {
    if (words.TakeFlag("set")) {
        SetComponent(protection, words);
    } else if (words.TakeFlag("raw")) {
        const auto text =
            words.IsEmpty() ? std::nullopt : std::optional(words.TakeWord("text instead"));
        words.Finish();
        protection.ReportInstead(text);
    }
    words.Finish();
}

void TellProtection(const CProtection& protection, const LineSink& tell) {
    const std::vector<Component> components = protection.Reported();
    for (const Component& component : components) {
        CLine line = AnswerTo("protection");
        line.With("name", component.name).With("status", component.status);
        line.With("category", HexText(component.category));
        line.With("text", HexText(component.statusText));
        if (component.description) {
            line.With("description", HexText(*component.description));
        }
        tell(line);
    }
    tell(AnswerTo("protection").With("components", components.size()));
}

void AddResult(CTaskResults& results, CCommandWords& words) {
    TaskResult result;
    result.outcome = ParseNumber32(words.TakeWord("outcome"));
    result.userData = words.TakeWord("user data");
    result.offset =
        static_cast<std::uint32_t>(words.TakeNumber("offset", 0xFFFFFFFF).value_or(result.offset));
    words.Finish();
    results.Add(result);
}

void TellResults(const CTaskResults& results, const LineSink& tell) {
    const std::vector<TaskResult> waiting = results.List();
    for (const TaskResult& result : waiting) {
        tell(AnswerTo("results")
                 .With("outcome", result.outcome)
                 .With("userdata", result.userData)
                 .With("offset", result.offset));
    }
    tell(AnswerTo("results").With("waiting", waiting.size()));
}

/// A policy may be as long as a message; a line for people may not.
constexpr std::size_t kLongestShown = 200;

}  // namespace

ConsoleCommandGroup StateCommands(CProtection& protection, CTaskResults& results,
                                  const CConfiguration& configuration) {
    return {
        {"install", "build=<n>", "Registers the product as installed, or as upgraded.",
         [&](CCommandWords& words, const LineSink& tell) {
             const std::string text = words.TakeValue("build").value_or("");
             words.Finish();
             std::int32_t build = 0;
             if (text.find('+') == 0 || !boost::conversion::try_lexical_convert(text, build)) {
                 throw std::invalid_argument("'" + text + "' is no build number");
             }
             Install(build);
             tell(AnswerTo("install").With("build", std::to_string(build)));
         }},
        {"uninstall", "", "Takes the registration back; the ports stay open.",
         [&](CCommandWords& words, const LineSink& tell) {
             words.Finish();
             Uninstall();
             tell(AnswerTo("uninstall"));
         }},
        {"protection",
         "[set <component> <status> [category=<n>] [text=<n>] [description=<n>] | raw [<text>]]",
         "Tells or changes what status replies say; raw: that text, or the components again.",
         [&](CCommandWords& words, const LineSink& tell) {
             ChangeProtection(protection, words);
             TellProtection(protection, tell);
         }},
        {"results", "[add <outcome> <user data> [offset=<n>]]",
         "Tells the outcomes that wait to be fetched; adds one that no task of the lab has.",
         [&](CCommandWords& words, const LineSink& tell) {
             if (words.TakeFlag("add")) {
                 AddResult(results, words);
             }
             words.Finish();
             TellResults(results, tell);
         }},
        {"configuration", "", "Tells what an export gives and an import replaces.",
         [&](CCommandWords& words, const LineSink& tell) {
             words.Finish();
             const std::string text = configuration.Text();
             tell(AnswerTo("configuration")
                      .With("length", text.size())
                      .With("text", text.substr(0, kLongestShown)));
         }},
    };
}

}  // namespace Kyr::Lab::SimProduct
