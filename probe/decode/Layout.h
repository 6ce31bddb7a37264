// What bytes turn out to be: their fields in order, each with its place, its value as text, and
// what is wrong with it.
//
// Threads: any, an object at a time. Errors: none.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace Kyr::Probe {

struct Field {
    std::size_t offset = 0;  // from the start of what was decoded
    std::size_t length = 0;  // in bytes
    std::string name;
    std::string value;
    std::string wrong;  // empty: nothing
};

struct Layout {
    std::string kind;  // as --kind names it
    std::vector<Field> fields;

    /// Whether nothing is wrong with any field.
    bool IsSound() const;
};

}  // namespace Kyr::Probe
