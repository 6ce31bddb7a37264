// The one translation unit that carries Boost.JSON: its headers only declare, unless this one
// brings the rest.
#include <boost/json/src.hpp>
