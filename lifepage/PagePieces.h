// The page without its data, as lifepage/bundle makes it from lifepage/page when the tree is built.
//
// Threads: any.
#pragma once

#include <string_view>
#include <vector>

namespace Kyr::LifePage {

/// In pieces, since compilers limit the length of a literal.
const std::vector<std::string_view>& PiecesBeforeData();
const std::vector<std::string_view>& PiecesBehindData();

}  // namespace Kyr::LifePage
