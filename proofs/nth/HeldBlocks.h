// The blocks of memory that the module was given and that nobody has given back, each with the way
// on which it came there: what `operator new` hands out to a thread that is in no CSurroundings.
//
// Threads: any. Errors: none; without memory for its own books the process ends.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace Kyr::Proofs::Nth {

/// Blocks are known from now on, unless Test::CAllocationWatch is not possible.
void NoteBlocks();

struct HeldBlock {
    std::size_t room;
    std::vector<std::string> way;  // functions, from the one that asked for it outwards
};
/// Those of this moment; they are not known any more.
std::vector<HeldBlock> TakeBlocks();

/// Whether protobuf's runtime has forgotten the block for want of memory: it has made an element,
/// or the text of a field that it does not know, by the time the list that shall hold it cannot
/// grow.
bool IsForgottenByProtobuf(const HeldBlock& block);

}  // namespace Kyr::Proofs::Nth
