#include "lab/simproduct/typed/AreaCommands.h"

#include <stdexcept>

#include "lab/common/CommandWords.h"
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

std::uint32_t ParsePlace(const std::string& text) {
    const std::uint32_t offset = ParseWordBelow(text, CAreaImage::kSize);
    if (offset % sizeof(std::uint32_t) != 0) {
        throw std::invalid_argument("'" + text + "' is not a multiple of 4");
    }
    return offset;
}

struct AreaCommandRow {
    const char* name;
    std::size_t words;  // `area` and the name included
    void (*run)(CBroadcastArea& area, const Words& words);
};

const AreaCommandRow kRows[] = {
    {"open", 2, [](CBroadcastArea& area, const Words&) { area.Open(); }},
    {"close", 2, [](CBroadcastArea& area, const Words&) { area.Close(); }},
    {"healthy", 2, [](CBroadcastArea& area, const Words&) { area.Restore(); }},
    {"set", 4,
     [](CBroadcastArea& area, const Words& words) {
         area.Write(ParseField(words[2]), ParseNumber32(words[3]));
     }},
    {"put", 4,
     [](CBroadcastArea& area, const Words& words) {
         area.WriteWord(ParsePlace(words[2]), ParseNumber32(words[3]));
     }},
    {"move", 3,
     [](CBroadcastArea& area, const Words& words) {
         area.MovePlugIn(ParseWordBelow(words[2], CAreaImage::kModules));
     }},
    {"flicker", 4,
     [](CBroadcastArea& area, const Words& words) {
         area.Flicker(ParseField(words[2]), ParseNumber32(words[3]));
     }},
    {"hold", 2, [](CBroadcastArea& area, const Words&) { area.Hold(); }},
    {"release", 2, [](CBroadcastArea& area, const Words&) { area.Release(); }},
    {"abandon", 2, [](CBroadcastArea& area, const Words&) { area.Abandon(); }},
    {"die", 2,
     [](CBroadcastArea& area, const Words&) {
         area.Hold();
         EndThisProcess();
     }},
};

void Change(CBroadcastArea& area, const Words& words) {
    std::string names;
    for (const AreaCommandRow& row : kRows) {
        if (row.name == words[1]) {
            if (words.size() != row.words) {
                throw std::invalid_argument("'" + words[1] + "' takes " +
                                            std::to_string(row.words - 2) + " words");
            }
            row.run(area, words);
            return;
        }
        names += std::string(names.empty() ? "" : ", ") + row.name;
    }
    throw std::invalid_argument("'" + words[1] + "' is none of " + names);
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

CLine Publish(CBroadcastArea& area, const Words& words) {
    CLine answer = AnswerTo("broadcast");
    if (words.size() == 1) {
        for (std::uint32_t index = 0; index < CAreaImage::kValues; ++index) {
            answer.With(std::to_string(index), area.Value(index));
        }
        return answer;
    }
    const std::string index = ValueOf(words[1], "index").value_or("");
    const std::string given = words.size() > 2 ? ValueOf(words[2], "value").value_or("") : "";
    if (index.empty() || words.size() > 3 || (words.size() > 2 && given.empty())) {
        throw std::invalid_argument("index=<n> and perhaps value=<number> are wanted");
    }
    const std::uint32_t place = ParseWordBelow(index, CAreaImage::kValues);
    const std::uint32_t value = given.empty() ? area.Value(place) + 1 : ParseNumber32(given);
    area.SetValue(place, value);
    return answer.With("index", place).With("value", value);
}

}  // namespace

ConsoleCommandGroup AreaCommands(CBroadcastArea& area, const LineSink& sink) {
    const auto runArea = [&area, sink](const Words& words) {
        if (words.size() > 1) {
            Change(area, words);
        }
        sink(Tell(area));
    };
    return {
        {"broadcast", "broadcast [index=<n> [value=<number>]]",
         "publish a value in the broadcast area, by default one more than before; without an "
         "index, tell all",
         [&area, sink](const Words& words) { sink(Publish(area, words)); }},
        {"area", "area [open|close|healthy|move <position>|hold|release|abandon|die]",
         "what the broadcast area says; move the server plug-in's entry, hold the mutex, lose it "
         "with a thread or with this process",
         runArea},
        {"area", "area set|flicker <field> <number>; area put <offset> <number>",
         "lie in the broadcast area, once or back and forth, until `area healthy`", runArea},
    };
}

}  // namespace Kyr::Lab::SimProduct
