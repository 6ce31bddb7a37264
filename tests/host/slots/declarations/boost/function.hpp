// A name only, for Interfaces.cpp.
#pragma once

namespace boost {
template <typename Signature>
class function {};
}  // namespace boost
