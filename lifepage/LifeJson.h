// Lives as one JSON document, in the form that lifepage/README.md describes.
//
// Threads: any. Errors: none; what is no UTF-8 in a text becomes U+FFFD.
#pragma once

#include <string>
#include <vector>

#include "lifepage/Life.h"

namespace Kyr::LifePage {

/// ASCII, and without a character that HTML would take for its own: it can stand between the tags
/// of a script element as it is.
std::string ToJson(const std::vector<Life>& lives);

}  // namespace Kyr::LifePage
