// The replies' payloads of one kind of records; the last one is kept. A connector asks for a large
// one again and again, with more room each time, and encoding it costs more than all else.
//
// Threads: any.
// Ownership: the lists must outlive this.
#pragma once

#include <optional>
#include <utility>

#include <boost/thread/mutex.hpp>

#include "lab/simproduct/records/RecordLists.h"
#include "lab/simproduct/requests/Bytes.h"

namespace Kyr::Lab::SimProduct {

struct RecordBatch {
    std::size_t records = 0;
    Bytes payload;  // empty without records
};

class CRecordBatches {
  public:
    CRecordBatches(const CRecordLists& lists, RecordKind kind) : lists_(lists), kind_(kind) {}

    /// The records behind the first `offset` ones, as many as the limit allows.
    RecordBatch Behind(std::uint64_t offset);

  private:
    const CRecordLists& lists_;  // borrowed
    const RecordKind kind_;
    boost::mutex mutex_;  // guards what follows
    std::pair<std::uint64_t, std::uint64_t> lastKey_;
    std::optional<RecordBatch> last_;
};

/// A payload that says why there are no records; alike for all kinds.
Bytes EncodeResultCode(std::uint32_t code);

}  // namespace Kyr::Lab::SimProduct
