// A name only, for Interfaces.cpp.
#pragma once

namespace boost::uuids {
struct uuid;
}  // namespace boost::uuids
