// Expectations that the suites share.
#pragma once

#include <gtest/gtest.h>
#include <string>

namespace Kyr::Test {

/// Expects `action` to throw an Exception whose what() is `text`.
template <typename Exception, typename Action>
void ExpectThrow(Action&& action, const std::string& text) {
    try {
        action();
        ADD_FAILURE() << "nothing was thrown; expected: " << text;
    } catch (const Exception& error) {
        EXPECT_EQ(std::string(error.what()), text);
    }
}

}  // namespace Kyr::Test
