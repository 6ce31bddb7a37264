#include "lab/simproduct/typed/ProtectionCommands.h"

#include <algorithm>
#include <iomanip>
#include <sstream>
#include <stdexcept>

#include "lab/common/CommandWords.h"

namespace Kyr::Lab::SimProduct {

namespace {

std::string HexText(std::uint64_t value) {
    std::ostringstream text;
    text.imbue(std::locale::classic());
    text << "0x" << std::hex << std::uppercase << value;
    return text.str();
}

/// The component as it stands, or a new one.
Component StartFrom(const CProtection& protection, const std::string& name) {
    const std::vector<Component> components = protection.Reported();
    const auto found =
        std::find_if(components.begin(), components.end(),
                     [&](const Component& candidate) { return candidate.name == name; });
    if (found != components.end()) {
        return *found;
    }
    Component component;
    component.name = name;
    return component;
}

void Set(CProtection& protection, const Words& words) {
    if (words.size() < 4) {
        throw std::invalid_argument("a component and its status are wanted");
    }
    Component component = StartFrom(protection, words[2]);
    component.status = ParseNumber32(words[3]);
    for (std::size_t i = 4; i < words.size(); ++i) {
        if (const auto category = ValueOf(words[i], "category")) {
            component.category = ParseNumber(*category);
        } else if (const auto text = ValueOf(words[i], "text")) {
            component.statusText = ParseNumber(*text);
        } else if (const auto description = ValueOf(words[i], "description")) {
            component.description = ParseNumber(*description);
        } else {
            throw std::invalid_argument("'" + words[i] + "' is not understood");
        }
    }
    protection.Set(component);
}

void Remove(CProtection& protection, const Words& words) {
    RequireWords(words, 3);
    if (words.size() < 3 || !protection.Remove(words[2])) {
        throw std::invalid_argument("there is no such component");
    }
}

void List(const CProtection& protection, const LineSink& sink) {
    const std::vector<Component> components = protection.Reported();
    for (const Component& component : components) {
        CLine line = AnswerTo("protection");
        line.With("name", component.name).With("status", component.status);
        line.With("category", HexText(component.category));
        line.With("text", HexText(component.statusText));
        if (component.description) {
            line.With("description", HexText(*component.description));
        }
        sink(line);
    }
    sink(AnswerTo("protection").With("components", components.size()));
}

void Run(CProtection& protection, const Words& words, const LineSink& sink) {
    const std::string what = words.size() > 1 ? words[1] : "list";
    if (what == "set") {
        Set(protection, words);
    } else if (what == "remove") {
        Remove(protection, words);
    } else if (what == "raw") {
        RequireWords(words, 3);
        protection.ReportInstead(words.size() > 2 ? std::optional(words[2]) : std::nullopt);
    } else if (what != "list") {
        throw std::invalid_argument("'" + what + "' is not understood");
    }
    List(protection, sink);
}

}  // namespace

ConsoleCommandGroup ProtectionCommands(CProtection& protection, LineSink sink) {
    return {{"protection",
             "protection set <component> <status> [category=<n>] [text=<n>] [description=<n>]",
             "what status replies say; also: protection [list], protection remove <component>, "
             "protection raw [<text>] (that text instead, or the components again)",
             [&protection, sink = std::move(sink)](const Words& words) {
                 Run(protection, words, sink);
             }}};
}

}  // namespace Kyr::Lab::SimProduct
