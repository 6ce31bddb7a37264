// A name only, for Interfaces.cpp.
#pragma once

namespace boost {
template <typename Object>
class shared_ptr;
}  // namespace boost
