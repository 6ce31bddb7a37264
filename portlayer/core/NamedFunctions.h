// Rows of a table of functions by name.
#pragma once

#include <cstring>
#include <iterator>

#include "portlayer/FunctionsByName.h"

namespace Kyr::PortLayer::Detail {

struct Named {
    const char* name;
    GenericFunction function;
};

/// Does not compile when the layer's signature is not the system's.
template <typename Function>
Named Provide(const char* name, Function function) {
    return {name, reinterpret_cast<GenericFunction>(function)};
}

/// Null when the table has no function of this name.
template <std::size_t kSize>
GenericFunction FindIn(const Named (&table)[kSize], const char* name) {
    for (const Named& named : table) {
        if (std::strcmp(named.name, name) == 0) {
            return named.function;
        }
    }
    return nullptr;
}

/// Defined by the back end: a function of ClassicFunctions.h, where the layer has them.
GenericFunction FindClassicFunction(const char* name);

}  // namespace Kyr::PortLayer::Detail
