#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdexcept>

#include "lab/common/Arguments.h"

namespace Kyr::Lab {
namespace {

using ::testing::ElementsAre;

CArguments Arguments(std::vector<const char*> words) {
    words.insert(words.begin(), "program");
    return CArguments(static_cast<int>(words.size()), words.data());
}

TEST(ArgumentsTest, FlagIsTakenOnce) {
    CArguments arguments = Arguments({"--wire"});

    EXPECT_TRUE(arguments.TakeFlag("wire"));
    EXPECT_FALSE(arguments.TakeFlag("wire"));
}

TEST(ArgumentsTest, LastValueHolds) {
    CArguments arguments = Arguments({"--colour=never", "--colour=always"});

    EXPECT_EQ("always", arguments.TakeValue("colour"));
}

TEST(ArgumentsTest, ValueMayHoldEqualsSignsAndMayBeEmpty) {
    CArguments arguments = Arguments({"--misbehave=status 14 for=1", "--misbehave="});

    EXPECT_THAT(arguments.TakeValues("misbehave"), ElementsAre("status 14 for=1", ""));
}

TEST(ArgumentsTest, AbsentOptionHasNoValue) {
    EXPECT_EQ(std::nullopt, Arguments({}).TakeValue("colour"));
}

TEST(ArgumentsTest, WordsStandBetweenAndBehindOptions) {
    CArguments arguments = Arguments({"one", "--wire", "two", "--", "--three"});

    EXPECT_THAT(arguments.TakeWords(), ElementsAre("one", "two", "--three"));
}

TEST(ArgumentsTest, FlagWithValueIsRefused) {
    CArguments arguments = Arguments({"--wire=yes"});

    EXPECT_THROW(arguments.TakeFlag("wire"), std::invalid_argument);
}

TEST(ArgumentsTest, OptionWithoutItsValueIsRefused) {
    CArguments arguments = Arguments({"--colour"});

    EXPECT_THROW(arguments.TakeValue("colour"), std::invalid_argument);
}

TEST(ArgumentsTest, FinishRefusesUnknownOption) {
    EXPECT_THROW(Arguments({"--unknown"}).Finish(), std::invalid_argument);
}

TEST(ArgumentsTest, FinishRefusesWordThatNobodyTook) {
    EXPECT_THROW(Arguments({"word"}).Finish(), std::invalid_argument);
}

TEST(ArgumentsTest, FinishAcceptsWhatWasTaken) {
    CArguments arguments = Arguments({"--wire", "word"});
    arguments.TakeFlag("wire");
    arguments.TakeWords();

    EXPECT_NO_THROW(arguments.Finish());
}

TEST(ColourTest, FollowsTheTerminalUnlessSaidOtherwise) {
    CArguments silent = Arguments({});
    EXPECT_TRUE(TakeColour(silent, true));
    EXPECT_FALSE(TakeColour(silent, false));
    CArguments always = Arguments({"--colour=always"});
    EXPECT_TRUE(TakeColour(always, false));
    CArguments never = Arguments({"--colour=never"});
    EXPECT_FALSE(TakeColour(never, true));
}

TEST(ColourTest, UnknownWordIsRefused) {
    CArguments arguments = Arguments({"--colour=red"});

    EXPECT_THROW(TakeColour(arguments, true), std::invalid_argument);
}

}  // namespace
}  // namespace Kyr::Lab
