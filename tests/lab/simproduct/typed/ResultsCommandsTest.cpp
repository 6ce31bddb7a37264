#include <gmock/gmock.h>

#include "lab/simproduct/typed/ResultsCommands.h"
#include "tests/lab/simproduct/typed/GroupFixture.h"

namespace Kyr::Lab::SimProduct {
namespace {

using ::testing::ElementsAre;

class ResultsCommandsTest : public GroupFixture {
  protected:
    ConsoleCommandGroup Group() override { return ResultsCommands(results_, lines_.Sink()); }

    CTaskResults results_;
};

TEST_F(ResultsCommandsTest, AloneItListsWhatWaits) {
    results_.Add({kTaskDone, "a;b;c"});

    EXPECT_THAT(Execute("results"),
                ElementsAre("answer command=results outcome=1 userdata=a;b;c offset=12",
                            "answer command=results waiting=1"));
}

TEST_F(ResultsCommandsTest, AnyOutcomeCanBeAdded) {
    EXPECT_THAT(Execute("results add 0xFFFFFFFF \"a b\" offset=40"),
                ElementsAre("answer command=results outcome=4294967295 userdata=\"a b\" offset=40",
                            "answer command=results waiting=1"));
}

TEST_F(ResultsCommandsTest, NothingWaitsAfterAClear) {
    results_.Add({kTaskDone, "a;b;c"});

    EXPECT_THAT(Execute("results clear"), ElementsAre("answer command=results waiting=0"));
}

TEST_F(ResultsCommandsTest, WhatIsNotUnderstoodAddsNothing) {
    EXPECT_EQ("an outcome and its user data are wanted", Refusal("results add 1"));
    EXPECT_EQ("'a' is not a number", Refusal("results add a b"));
    EXPECT_EQ("'size=3' is not understood", Refusal("results add 1 a size=3"));
    EXPECT_EQ("'more' is one word too many", Refusal("results add 1 a offset=3 more"));
    EXPECT_EQ("'drop' is not understood", Refusal("results drop"));
    EXPECT_TRUE(results_.List().empty());
}

}  // namespace
}  // namespace Kyr::Lab::SimProduct
