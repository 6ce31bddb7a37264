// What happens in the life of a seed: the steps of a conversation, and outages of the product.
//
// Threads: any.
#pragma once

#include <cstdint>
#include <vector>

#include "fuzz/Conversation.h"

namespace Kyr::Proofs::Conversation {

struct Act {
    enum Kind { kStep, kOutage, kHostFails };  // an outage of the product, for `duration`
    Kind kind = kStep;
    std::uint8_t operation = 0;
    std::uint8_t argument = 0;
    std::chrono::milliseconds duration{0};
};

struct Script {
    /// In each, faults come and go; then they are over, and everything must have been done soon.
    struct Part {
        std::vector<Act> acts;
        bool announcesOutcomes;
        int refusedRequests;  // for these outcomes, by the bus
    };
    bool beginsWithoutProduct;
    std::vector<Part> parts;
};

/// Always the same for a seed.
Script ScriptOf(std::uint64_t seed);

}  // namespace Kyr::Proofs::Conversation
