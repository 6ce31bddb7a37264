#include <gtest/gtest.h>
#include <stdexcept>

#include "probe/Input.h"

namespace Kyr::Probe {
namespace {

TEST(InputTest, WhatCannotBeReadIsSaid) {
    EXPECT_THROW(ReadInput("/no/such/file"), std::runtime_error);
}

}  // namespace
}  // namespace Kyr::Probe
