#include <stdexcept>

#include "lab/common/EndThisProcess.h"
#include "lab/simproduct/typed/TypedCommands.h"

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

void Change(CBroadcastArea& area, CCommandWords& words) {
    const std::string what = words.TakeWord("change");
    const std::vector<std::string> rest = words.TakeRest();
    if (what == "set" && rest.size() == 2) {
        const AreaField field = ParseField(rest[0]);
        const std::uint32_t number = ParseNumber32(rest[1]);
        area.Change([&](CAreaImage& image) { image.Write(field, number); });
    } else if (what == "healthy" && rest.empty()) {
        area.Restore();
    } else if (what == "hold" && rest.empty()) {
        area.Hold();
    } else if (what == "release" && rest.empty()) {
        area.Release();
    } else if (what == "die" && rest.empty()) {
        area.Hold();
        EndThisProcess();
    } else {
        throw std::invalid_argument("not understood: " + what);
    }
}

CLine Tell(const CBroadcastArea& area) {
    CLine answer = AnswerTo("area").With("mutex", area.IsHeld() ? "held" : "free");
    for (const FieldRow& row : kFields) {
        answer.With(row.name, area.Image().Read(row.field));
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
        {"area", "[healthy|hold|release|die]",
         "Tells what the broadcast area says; ends every lie, holds the mutex, gives it back, dies "
         "with it.",
         runArea},
        {"area", "set <field> <number>", "Lies in the broadcast area until `area healthy`.",
         runArea},
    };
}

}  // namespace Kyr::Lab::SimProduct
