#include <algorithm>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdexcept>

#include "fuzz/Replay.h"
#include "tests/support/system/TemporaryFolder.h"

namespace Kyr::Fuzz {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;

class AReplay : public ::testing::Test {
  protected:
    void Write(const std::string& name, const std::string& text) {
        std::ofstream(folder_.File(name), std::ios::binary) << text;
    }

    std::vector<Bytes> InputsOf(const Bytes& seed) {
        std::vector<Bytes> inputs;
        ReplaySeed(
            {"seed", seed},
            [&](const std::uint8_t* data, std::size_t size) {
                inputs.emplace_back(data, data + size);
            },
            [&](const std::string& what) { traces_.push_back(what); });
        return inputs;
    }

    const Kyr::Test::CTemporaryFolder folder_;
    std::vector<std::string> traces_;
};

TEST_F(AReplay, EmptyCorpusIsAnError) {
    EXPECT_THROW(ReadCorpus(folder_.Path()), std::runtime_error);
}

TEST_F(AReplay, MissingCorpusIsAnError) {
    EXPECT_THROW(ReadCorpus(folder_.File("none")), std::runtime_error);
}

TEST_F(AReplay, HiddenFileIsNoSeed) {
    Write(".gitkeep", "");
    EXPECT_THROW(ReadCorpus(folder_.Path()), std::runtime_error);
}

TEST_F(AReplay, SeedsComeSortedByName) {
    Write("b", "2");
    Write("a", "1");
    const auto seeds = ReadCorpus(folder_.Path());
    ASSERT_EQ(2U, seeds.size());
    EXPECT_EQ("a", seeds[0].name);
    EXPECT_EQ("b", seeds[1].name);
    EXPECT_THAT(seeds[0].bytes, ElementsAre('1'));
}

TEST_F(AReplay, SeedItselfRunsFirst) {
    EXPECT_THAT(InputsOf({7, 8}).front(), ElementsAre(7, 8));
    EXPECT_EQ("seed, as it stands", traces_.front());
}

TEST_F(AReplay, EveryTruncationRuns) {
    const auto inputs = InputsOf({7, 8, 9});
    EXPECT_THAT(inputs, Contains(Bytes{}));
    EXPECT_THAT(inputs, Contains(Bytes{7}));
    EXPECT_THAT(inputs, Contains(Bytes{7, 8}));
}

TEST_F(AReplay, EveryByteIsFlipped) {
    const auto inputs = InputsOf({0x00, 0x10});
    EXPECT_THAT(inputs, Contains(Bytes{0x01, 0x10}));
    EXPECT_THAT(inputs, Contains(Bytes{0x80, 0x10}));
    EXPECT_THAT(inputs, Contains(Bytes{0xFF, 0x10}));
    EXPECT_THAT(inputs, Contains(Bytes{0x00, 0xEF}));
}

TEST_F(AReplay, EveryWordIsReplacedLittleEndian) {
    const auto inputs = InputsOf({5, 5, 5, 5, 5});
    EXPECT_THAT(inputs, Contains(Bytes{0xFF, 0xFF, 0xFF, 0x7F, 5}));
    EXPECT_THAT(inputs, Contains(Bytes{5, 1, 0, 0, 0}));
}

TEST_F(AReplay, ChangesStopAfterThousandAndTwentyFourOffsets) {
    const auto inputs = InputsOf(Bytes(1026, 0));
    Bytes last(1026, 0);
    last[1023] = 0x01;
    Bytes beyond(1026, 0);
    beyond[1024] = 0x01;
    EXPECT_TRUE(std::count(inputs.begin(), inputs.end(), last) != 0);
    EXPECT_TRUE(std::count(inputs.begin(), inputs.end(), beyond) == 0);
}

TEST_F(AReplay, ReturnsTheNumberOfInputs) {
    // 1 seed, 4 truncations, 4 * 3 flips, 1 * 5 words.
    EXPECT_EQ(22U, ReplaySeed(
                       {"seed", {1, 2, 3, 4}}, [](const std::uint8_t*, std::size_t) {},
                       [](const std::string&) {}));
}

TEST_F(AReplay, WhatTheTargetThrowsPassesThrough) {
    EXPECT_THROW(
        ReplaySeed(
            {"seed", {1}}, [](const std::uint8_t*, std::size_t) { throw std::logic_error("bug"); },
            [](const std::string&) {}),
        std::logic_error);
}

}  // namespace
}  // namespace Kyr::Fuzz
