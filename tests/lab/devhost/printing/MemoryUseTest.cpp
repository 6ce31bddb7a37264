#include <algorithm>
#include <gtest/gtest.h>
#include <string>

#include "lab/devhost/printing/MemoryUse.h"

namespace Kyr::Test {
namespace {

using Lab::CLine;
using namespace Lab::DevHost;

constexpr std::uint64_t kMebibyte = 1024 * 1024;

TEST(MemoryUseTest, GrowsByWhatIsTakenAndWritten) {
    const MemoryUse before = ReadMemoryUse();
    std::string block(32 * kMebibyte, '\0');
    std::fill(block.begin(), block.end(), 'x');
    const MemoryUse after = ReadMemoryUse();
    EXPECT_GE(after.privateBytes, before.privateBytes + 30 * kMebibyte);
    EXPECT_GE(after.residentBytes, before.residentBytes + 30 * kMebibyte);
    EXPECT_LT(after.privateBytes, before.privateBytes + 500 * kMebibyte);
    EXPECT_EQ(block.back(), 'x');
}

TEST(MemoryUseTest, IsToldInKibibytes) {
    const std::uint64_t least = ReadMemoryUse().privateBytes / 1024;
    const CLine line = MemoryLine("now");
    EXPECT_EQ(line.Kind(), "memory");
    EXPECT_EQ(*line.Find("when"), "now");
    EXPECT_GE(std::stoull(*line.Find("private")), least / 2);
    EXPECT_LE(std::stoull(*line.Find("private")), least * 2 + 1024);
}

}  // namespace
}  // namespace Kyr::Test
