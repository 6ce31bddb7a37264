// Records on disk: a file that only grows, so that the product may be killed at any moment.
//
//     record = kind " " action-type " " length LF text LF
//
// What a kill has left half written at the end is cut off when the file is opened: nobody has been
// told of that record.
//
// Threads: one at a time.
// Errors: std::runtime_error when the file cannot be read or written.
#pragma once

#include <cstdint>
#include <fstream>
#include <functional>
#include <string>

#include "lab/simproduct/records/Record.h"

namespace Kyr::Lab::SimProduct {

using TakeRecord = std::function<void(RecordKind, ProductRecord)>;

/// Gives every whole record of the file from that position on to `take`, in order; returns the
/// position behind the last one. The product may be writing. A missing file has no records.
std::uintmax_t ReadRecords(const std::string& path, std::uintmax_t position,
                           const TakeRecord& take);

class CRecordFile {
  public:
    /// Opens or makes the file, and gives every record in it to `take`, in order.
    CRecordFile(const std::string& path, const TakeRecord& take);

    /// The record is with the operating system when the call returns; it survives this process,
    /// though not a failure of power.
    void Append(RecordKind kind, const ProductRecord& record);

  private:
    const std::string path_;
    std::ofstream file_;
};

}  // namespace Kyr::Lab::SimProduct
