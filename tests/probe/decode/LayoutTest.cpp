#include <gtest/gtest.h>

#include "probe/decode/Layout.h"

namespace Kyr::Probe {
namespace {

TEST(LayoutTest, OneWrongFieldMakesItUnsound) {
    EXPECT_TRUE((Layout{"area", {}}.IsSound()));
    EXPECT_TRUE((Layout{"area", {{0, 4, "a", "1", ""}, {4, 4, "b", "2", ""}}}.IsSound()));
    EXPECT_FALSE((Layout{"area", {{0, 4, "a", "1", ""}, {4, 4, "b", "2", "must be 3"}}}.IsSound()));
    EXPECT_FALSE((Layout{"area", {{0, 4, "a", "1", "must be 2"}, {4, 4, "b", "2", ""}}}.IsSound()));
}

}  // namespace
}  // namespace Kyr::Probe
