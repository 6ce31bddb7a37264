#include "probe/decode/Layout.h"

#include <algorithm>

namespace Kyr::Probe {

bool Layout::IsSound() const {
    return std::all_of(fields.begin(), fields.end(),
                       [](const Field& field) { return field.wrong.empty(); });
}

}  // namespace Kyr::Probe
