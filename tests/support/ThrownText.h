// The text of the exception that an action throws, for tests of texts that are part of a contract.
#pragma once

#include <stdexcept>
#include <string>

namespace Kyr::Test {

/// The text of the `Expected` that `action` throws. An exception of another class goes through.
template <typename Expected = std::runtime_error, typename Action>
std::string ThrownText(Action action) {
    try {
        action();
    } catch (const Expected& error) {
        return error.what();
    }
    return "nothing was thrown";
}

}  // namespace Kyr::Test
