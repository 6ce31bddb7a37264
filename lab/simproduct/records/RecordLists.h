// What the product hands out by position: three lists of records that only grow.
//
// A record is numbered by its place in its list, from 1. With a file the lists outlive the process,
// however it ends.
//
// Threads: any.
// Errors: std::runtime_error from the constructor and Append when the file cannot be read or
// written.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <boost/thread/mutex.hpp>

#include "lab/simproduct/records/RecordFile.h"
#include "lab/simproduct/requests/Bytes.h"

namespace Kyr::Lab::SimProduct {

/// How much one reply carries at most; one record always fits, or its list would end there.
struct BatchLimit {
    std::uint64_t records = 1000;
    std::uint64_t bytes = std::uint64_t{1024} * 1024;
};

/// What one reply carries.
struct RecordBatch {
    std::size_t records = 0;
    Bytes payload;  // empty without records
};

class CRecordLists {
  public:
    /// Makes the record of that number.
    using MakeRecord = std::function<ProductRecord(std::uint64_t number)>;

    CRecordLists() = default;
    /// Starts with what the file holds, and keeps it up to date.
    explicit CRecordLists(const std::string& path);

    /// Returns the number of the record. When the call returns, the record is in the file.
    std::uint64_t Append(RecordKind kind, const MakeRecord& make);

    std::uint64_t Count(RecordKind kind) const;

    /// The records behind the first `offset` ones, as many as the limit allows. The last batch is
    /// kept: a connector asks for a large one again and again, with more room each time, and
    /// encoding it costs more than all else.
    RecordBatch Batch(RecordKind kind, std::uint64_t offset);

    BatchLimit Limit() const;
    void SetLimit(const BatchLimit& limit);

  private:
    struct List {
        std::vector<ProductRecord> records;
        std::optional<RecordBatch> lastBatch;  // nothing when it may have become another one
        std::uint64_t lastOffset = 0;          // of that batch
    };

    RecordBatch Encode(RecordKind kind, std::uint64_t offset) const;

    // Guarded by mutex_.
    mutable boost::mutex mutex_;
    std::array<List, kRecordKinds.size()> lists_;
    BatchLimit limit_;
    std::unique_ptr<CRecordFile> file_;  // nothing: the lists end with the process
};

}  // namespace Kyr::Lab::SimProduct
