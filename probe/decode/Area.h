// An image of the product's broadcast area.
//
// Threads: any. Errors: none; what is wrong stands in the layout.
#pragma once

#include "probe/decode/FieldReader.h"

namespace Kyr::Probe {

/// Head, values and modules, each as far as it lies in the image.
void DecodeArea(std::string_view image, Layout& layout);

}  // namespace Kyr::Probe
