#include "probe/doctor/AreaChecks.h"

#include "kelcomm/client/BroadcastLayout.h"
#include "probe/decode/Area.h"

namespace Kyr::Probe {

namespace Broadcast = Connectors::Common::Kelcomm::Broadcast;

namespace {

constexpr char kNoValues[] =
    "restart the product; until then the connector learns of a new status within the hour only";

struct AreaProblems {
    std::string header;
    std::string bounds;
    std::string modules;
};

bool BeginsWith(const std::string& text, const char* beginning) {
    return text.rfind(beginning, 0) == 0;
}

/// What is wrong, sorted by what the fields belong to.
AreaProblems ProblemsOf(const Layout& layout) {
    AreaProblems problems;
    for (const Field& field : layout.fields) {
        if (field.wrong.empty()) {
            continue;
        }
        const bool isHeader =
            field.name == "size of the head" || field.name == "magic" || field.name == "version";
        const bool isBound = field.name == "place of the data" ||
                             field.name == "size of the data" || BeginsWith(field.name, "value ");
        std::string& place = isHeader  ? problems.header
                             : isBound ? problems.bounds
                                       : problems.modules;
        // The first one says it; those behind it follow from it.
        if (place.empty()) {
            place =
                field.name + (field.value.empty() ? "" : " " + field.value) + ": " + field.wrong;
        }
    }
    return problems;
}

void Add(Checks& checks, const char* name, const std::string& problem, const char* fine,
         const char* next) {
    checks.push_back(problem.empty() ? Check{Verdict::kFine, name, fine, ""}
                                     : Check{Verdict::kWrong, name, problem, next});
}

Check MutexCheck(MutexState state) {
    switch (state) {
        case MutexState::kFree:
            return {Verdict::kFine, "area mutex", "free", ""};
        case MutexState::kHeld:
            return {Verdict::kWrong, "area mutex", "held by somebody, and not given back",
                    "restart the product: reads of value 10 fail after five seconds"};
        case MutexState::kAbandoned:
            return {Verdict::kDoubtful, "area mutex", "abandoned: who held it has died",
                    "see why the product ended; this look has mended the mutex"};
        case MutexState::kUnknown:
            return {Verdict::kWrong, "area mutex", "cannot be waited for", kNoValues};
        case MutexState::kAbsent:
            break;
    }
    return {Verdict::kWrong, "area mutex", "not there: the area cannot be opened", kNoValues};
}

}  // namespace

void CheckArea(const AreaSnapshot& snapshot, bool productIsThere, Checks& checks) {
    if (!snapshot.hasSection) {
        checks.push_back({Verdict::kWrong, "area", "not there",
                          productIsThere ? kNoValues : "start the product"});
        return;
    }
    if (snapshot.image.empty()) {
        checks.push_back(
            {Verdict::kWrong, "area", "there, but empty or not to be mapped", kNoValues});
    } else {
        const bool isShort = snapshot.image.size() < Broadcast::kHeaderSize;
        checks.push_back({isShort          ? Verdict::kWrong
                          : productIsThere ? Verdict::kFine
                                           : Verdict::kDoubtful,
                          "area",
                          std::to_string(snapshot.image.size()) + " bytes" +
                              (isShort           ? ": too short for its header"
                               : !productIsThere ? ", left by a product that is gone"
                                                 : ""),
                          isShort           ? kNoValues
                          : !productIsThere ? "start the product"
                                            : ""});
        Layout layout;
        DecodeArea(snapshot.image, layout);
        const AreaProblems problems = ProblemsOf(layout);
        Add(checks, "area header", problems.header, "as this connector reads it", kNoValues);
        Add(checks, "area bounds", problems.bounds, "all values are inside", kNoValues);
        Add(checks, "module table", problems.modules, "all modules are inside",
            "restart the product: value 10 cannot be read");
    }
    checks.push_back(MutexCheck(snapshot.mutex));
}

}  // namespace Kyr::Probe
