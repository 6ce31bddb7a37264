// What a person gave cannot be used.
//
// A value, like any exception; what() is for that person.
#pragma once

#include <stdexcept>

namespace Kyr::Probe {

class CWrongUsage : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

}  // namespace Kyr::Probe
