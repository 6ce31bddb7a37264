// What ECS records tell of the processes of this computer, left out of the bytes that carry them.
//
// Number, name, file, hash and parent of a process differ between two runs and two systems, and so
// do the lengths that stand before them. Records that tell of no process stay as they are.
// Threads: any.
#pragma once

#include <string>

namespace Kyr::Lab::Runner {

/// A product's reply, or any other bytes, in which "process" of a record is "*", the record's
/// length before it is "<length>", and so is the reply's own at its place in the header.
std::string NeutralRecords(const std::string& bytes);

}  // namespace Kyr::Lab::Runner
