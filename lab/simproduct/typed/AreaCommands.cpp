#include "lab/simproduct/typed/AreaCommands.h"

#include <algorithm>
#include <stdexcept>

#include "lab/common/EndThisProcess.h"

namespace Kyr::Lab::SimProduct {

namespace {

struct FieldRow {
    const char* name;
    AreaField field;
};

constexpr FieldRow kFields[] = {
    {"header-size", AreaField::kHeaderSize},   {"magic", AreaField::kMagic},
    {"version", AreaField::kVersion},          {"data-offset", AreaField::kDataOffset},
    {"data-size", AreaField::kDataSize},       {"first-module", AreaField::kFirstModule},
    {"module-count", AreaField::kModuleCount}, {"module-id", AreaField::kModuleId},
    {"user-size", AreaField::kUserSize},       {"user-offset", AreaField::kUserOffset},
    {"timestamp", AreaField::kTimestamp},
};

AreaField ParseField(const std::string& name) {
    std::string names;
    for (const FieldRow& row : kFields) {
        if (row.name == name) {
            return row.field;
        }
        names += std::string(names.empty() ? "" : ", ") + row.name;
    }
    throw std::invalid_argument("'" + name + "' is none of " + names);
}

std::uint32_t ParseWordBelow(const std::string& text, std::uint32_t end) {
    const std::uint32_t number = ParseNumber32(text);
    if (number >= end) {
        throw std::invalid_argument("'" + text + "' is not below " + std::to_string(end));
    }
    return number;
}

using Words = std::vector<std::string>;

struct AreaCommandRow {
    const char* name;
    std::size_t words;  // behind it
    void (*run)(CBroadcastArea& area, const Words& words);
};

const AreaCommandRow kRows[] = {
    {"open", 0, [](CBroadcastArea& area, const Words&) { area.Open(); }},
    {"close", 0, [](CBroadcastArea& area, const Words&) { area.Close(); }},
    {"healthy", 0, [](CBroadcastArea& area, const Words&) { area.Restore(); }},
    {"set", 2,
     [](CBroadcastArea& area, const Words& words) {
         area.Write(ParseField(words[0]), ParseNumber32(words[1]));
     }},
    {"move", 1,
     [](CBroadcastArea& area, const Words& words) {
         area.MovePlugIn(ParseWordBelow(words[0], CAreaImage::kModules));
     }},
    {"flicker", 2,
     [](CBroadcastArea& area, const Words& words) {
         area.Flicker(ParseField(words[0]), ParseNumber32(words[1]));
     }},
    {"hold", 0, [](CBroadcastArea& area, const Words&) { area.Hold(); }},
    {"release", 0, [](CBroadcastArea& area, const Words&) { area.Release(); }},
    {"abandon", 0, [](CBroadcastArea& area, const Words&) { area.Abandon(); }},
    {"die", 0,
     [](CBroadcastArea& area, const Words&) {
         area.Hold();
         EndThisProcess();
     }},
};

void Change(CBroadcastArea& area, CCommandWords& command) {
    const std::string what = command.TakeWord("change");
    const Words words = command.TakeRest();
    const auto row = std::find_if(std::begin(kRows), std::end(kRows),
                                  [&](const AreaCommandRow& one) { return one.name == what; });
    if (row == std::end(kRows) || words.size() != row->words) {
        throw std::invalid_argument("not understood: " + what);
    }
    row->run(area, words);
}

CLine Tell(const CBroadcastArea& area) {
    CLine answer = AnswerTo("area").With("state", area.IsOpen() ? "open" : "closed");
    if (area.IsOpen()) {
        answer.With("mutex", area.IsHeld() ? "held" : "free");
        answer.With("position", area.PlugInPosition());
        for (const FieldRow& row : kFields) {
            answer.With(row.name, area.Read(row.field));
        }
    }
    return answer;
}

CLine Publish(CBroadcastArea& area, CCommandWords& words) {
    CLine answer = AnswerTo("broadcast");
    if (words.IsEmpty()) {
        for (std::uint32_t index = 0; index < CAreaImage::kValues; ++index) {
            answer.With(std::to_string(index), area.Value(index));
        }
        return answer;
    }
    const auto index = words.TakeNumber("index", CAreaImage::kValues - 1);
    const auto given = words.TakeNumber("value", 0xFFFFFFFF);
    words.Finish();
    if (!index) {
        throw std::invalid_argument("index is missing");
    }
    const auto place = static_cast<std::uint32_t>(*index);
    const auto value = given ? static_cast<std::uint32_t>(*given) : area.Value(place) + 1;
    area.SetValue(place, value);
    return answer.With("index", place).With("value", value);
}

}  // namespace

ConsoleCommandGroup AreaCommands(CBroadcastArea& area) {
    const auto runArea = [&area](CCommandWords& words, const LineSink& tell) {
        if (!words.IsEmpty()) {
            Change(area, words);
        }
        tell(Tell(area));
    };
    return {
        {"broadcast", "[index=<n> [value=<number>]]",
         "Publishes a value in the broadcast area, by default one more than before; without an "
         "index, tells all.",
         [&area](CCommandWords& words, const LineSink& tell) { tell(Publish(area, words)); }},
        {"area", "[open|close|healthy|move <position>|hold|release|abandon|die]",
         "Tells what the broadcast area says; moves the server plug-in's entry, holds the mutex, "
         "loses it with a thread or with this process.",
         runArea},
        {"area", "set|flicker <field> <number>",
         "Lies in the broadcast area, once or back and forth, until `area healthy`.", runArea},
    };
}

}  // namespace Kyr::Lab::SimProduct
