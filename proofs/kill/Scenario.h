// What there is to do while the kills come, and in which order host and product are started and
// ended besides.
//
// Threads, errors: constants.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "lab/simproduct/records/Record.h"

namespace Kyr::Proofs::Kill {

enum class Step {
    kStartProduct,
    kStartHost,
    kAwaitConnecting,  // the host has begun to look for the product
    kAwaitWork,        // a batch of records has come from the product
    kStopHost,
    kStopProduct,
};

struct Scenario {
    const char* name;
    std::vector<std::uint64_t> records;  // of each kind, in the product's order
    std::size_t recordSize;
    std::uint64_t outcomes;          // wait with the product from the beginning
    std::vector<const char*> tasks;  // for the host: kill, block, export
    bool policy;
    bool advancedPort;
    std::vector<Step> steps;
};

/// How many records the product gives at once.
constexpr std::uint64_t kBatch = 3;

/// Thirteen.
const std::vector<Scenario>& AllScenarios();

/// The record of that number, from 1.
Lab::SimProduct::ProductRecord RecordOf(const Scenario& scenario, Lab::SimProduct::RecordKind kind,
                                        std::uint64_t number);

}  // namespace Kyr::Proofs::Kill
