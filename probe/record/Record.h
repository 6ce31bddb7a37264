// `record`: what an endpoint's product says of itself, byte for byte, in one document
// (docs/recording.md). Nothing is asked that changes anything at the product.
//
// Threads: one. Errors: std::runtime_error when the file cannot be written, or is there already.
// What was not answered stands in the document and in the report.
#pragma once

#include <cstdint>
#include <string>

#include "probe/session/SessionOptions.h"
#include "probe/show/Report.h"

namespace Kyr::Probe {

struct RecordOptions {
    SessionOptions session;
    std::string file;      // a new one
    std::string database;  // of a host: records are asked for from its positions on; empty: from 0
    bool isRedacted = false;
    /// Of each kind of records, how many replies at most.
    std::uint64_t mostReplies = 100;
};

Report RecordEndpoint(const RecordOptions& options);

}  // namespace Kyr::Probe
