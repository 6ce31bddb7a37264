// A name only, for Interfaces.cpp.
#pragma once

namespace boost {
template <typename Value>
class optional;
}  // namespace boost
