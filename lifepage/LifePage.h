// The page that shows lives: one HTML file that needs no network and no other file.
//
// Threads: any.
// Errors: std::runtime_error for a file that cannot be written.
#pragma once

#include <string>
#include <vector>

#include "lifepage/Life.h"

namespace Kyr::LifePage {

/// The page around these lives.
std::string Page(const std::vector<Life>& lives);

/// Puts it into a file, in place of what is there.
void WritePage(const std::string& path, const std::vector<Life>& lives);

}  // namespace Kyr::LifePage
