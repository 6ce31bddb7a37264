// A name only, for Interfaces.cpp.
#pragma once

namespace boost::posix_time {
class ptime;
}  // namespace boost::posix_time
