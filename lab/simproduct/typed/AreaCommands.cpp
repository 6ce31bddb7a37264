#include <stdexcept>

#include "lab/common/EndThisProcess.h"
#include "lab/simproduct/typed/TypedCommands.h"

namespace Kyr::Lab::SimProduct {

namespace {

/// In the order of AreaField.
const std::vector<std::string> kFields{"header-size", "magic",        "version",      "data-offset",
                                       "data-size",   "first-module", "module-count", "module-id",
                                       "user-size",   "user-offset",  "timestamp"};

AreaField ParseField(const std::string& name) {
    return static_cast<AreaField>(PlaceOf(name, kFields, "field"));
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
    for (const std::string& field : kFields) {
        answer.With(field, area.Image().Read(ParseField(field)));
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
