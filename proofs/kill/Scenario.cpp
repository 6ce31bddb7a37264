#include "proofs/kill/Scenario.h"

namespace Kyr::Proofs::Kill {

namespace {

const std::vector<Step> kBoth = {Step::kStartProduct, Step::kStartHost};
const std::vector<Step> kProductLate = {Step::kStartHost, Step::kAwaitConnecting,
                                        Step::kStartProduct};
// The host gives up what waits for a product that is not there.
const std::vector<Step> kStoppedUnconnected = {Step::kStartHost, Step::kAwaitConnecting,
                                               Step::kStopHost, Step::kStartProduct,
                                               Step::kStartHost};
const std::vector<Step> kStoppedAtWork = {Step::kStartProduct, Step::kStartHost, Step::kAwaitWork,
                                          Step::kStopHost, Step::kStartHost};
const std::vector<Step> kProductGone = {Step::kStartProduct, Step::kStartHost, Step::kAwaitWork,
                                        Step::kStopProduct, Step::kStartProduct};

constexpr std::size_t kSmall = 40;
// A batch of these goes in a view, or into the client's own memory.
constexpr std::size_t kLarge = 30000;

}  // namespace

const std::vector<Scenario>& AllScenarios() {
    static const std::vector<Scenario> scenarios = {
        {"indicators", {7, 0, 0}, kSmall, 0, {}, false, true, kBoth},
        {"telemetry", {0, 7, 0}, kSmall, 0, {}, false, true, kBoth},
        {"large-records", {5, 4, 0}, kLarge, 0, {}, false, true, kBoth},
        {"actions", {0, 0, 7}, kSmall, 0, {}, false, true, kBoth},
        {"outcomes", {0, 0, 0}, kSmall, 5, {}, false, true, kBoth},
        {"policy", {0, 0, 0}, kSmall, 0, {"export"}, true, true, kBoth},
        {"tasks", {0, 0, 0}, kSmall, 0, {"kill", "block", "export"}, false, true, kBoth},
        {"queued",
         {0, 0, 0},
         kSmall,
         0,
         {"block", "kill", "export", "block", "kill", "block"},
         true,
         true,
         kProductLate},
        {"start", {2, 0, 2}, kSmall, 2, {"kill", "export"}, true, true, kStoppedUnconnected},
        {"stop", {7, 4, 4}, kSmall, 2, {"block"}, false, true, kStoppedAtWork},
        {"reconnect", {7, 4, 4}, kSmall, 2, {"block", "export"}, true, true, kProductGone},
        {"older-port", {5, 5, 5}, kLarge, 2, {"kill", "block", "export"}, true, false, kBoth},
        {"older-port-again", {4, 4, 4}, kSmall, 2, {"block"}, true, false, kProductGone},
    };
    return scenarios;
}

Lab::SimProduct::ProductRecord RecordOf(const Scenario& scenario, Lab::SimProduct::RecordKind kind,
                                        std::uint64_t number) {
    // With all that a text may hold and a line may not.
    std::string text =
        std::string(NameOf(kind)) + ' ' + std::to_string(number) + "\r\n\"\\\x01 . \xC3\xA4 =";
    text.resize(scenario.recordSize, '.');
    return {text, Lab::SimProduct::kBlockAction};
}

}  // namespace Kyr::Proofs::Kill
