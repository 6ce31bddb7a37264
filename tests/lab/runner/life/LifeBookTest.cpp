#include <gmock/gmock.h>

#include "lab/runner/life/LifeBook.h"
#include "tests/support/system/TemporaryFolder.h"

namespace Kyr::Lab::Runner {
namespace {

using ::testing::ElementsAre;
using ::testing::Field;
using ::testing::Optional;
using ::testing::SizeIs;

class LifeBookTest : public ::testing::Test {
  protected:
    const Kyr::Test::CTemporaryFolder folder_;
    CLifeBook book_{folder_.File("transcript.txt"), "A title", "now labrunner"};
};

TEST_F(LifeBookTest, ProcessesOfOneActorAreCounted) {
    book_.Begin("host", "(started)");
    book_.End("host", "with code 0");
    book_.End("host", "with code 0");  // nothing more
    book_.Begin("host", "(started)");
    const LifePage::Life life = book_.Life();
    EXPECT_EQ(life.toldBy, "now labrunner");
    EXPECT_THAT(life.processes, ElementsAre(Field(&LifePage::Process::name, "host 1"),
                                            Field(&LifePage::Process::name, "host 2")));
    EXPECT_EQ(life.processes[0].end, "with code 0");
    EXPECT_EQ(life.processes[1].end, "");
    EXPECT_EQ(life.processes[1].until, life.length);
    EXPECT_THAT(life.events, SizeIs(3));
}

TEST_F(LifeBookTest, StepsTellHowTheyEnded) {
    book_.Step("one");
    const auto took = book_.StepDone("");
    book_.Step("two");
    book_.StepDone("line 7: no");
    const LifePage::Life life = book_.Life();
    EXPECT_EQ(life.title, "A title");
    ASSERT_THAT(life.steps, SizeIs(2));
    EXPECT_EQ(life.steps[0].end, LifePage::Step::End::kHeld);
    EXPECT_EQ(life.steps[1].end, LifePage::Step::End::kFailed);
    EXPECT_EQ(life.steps[1].failure, "line 7: no");
    EXPECT_EQ(life.steps[0].until - life.steps[0].from, took);
    EXPECT_LE(life.steps[0].until, life.steps[1].from);
}

TEST_F(LifeBookTest, FailureBeforeTheFirstStepIsAStep) {
    EXPECT_EQ(book_.StepDone(""), std::nullopt);
    EXPECT_NE(book_.StepDone("line 1: no"), std::nullopt);
    const std::vector<LifePage::Step> steps = book_.Steps();
    ASSERT_THAT(steps, SizeIs(1));
    EXPECT_EQ(steps[0].text, "before the first step");
    EXPECT_EQ(steps[0].end, LifePage::Step::End::kFailed);
    EXPECT_EQ(steps[0].failure, "line 1: no");
}

TEST_F(LifeBookTest, EventThatIsNotKnownIsKeptButNotCounted) {
    book_.Begin("host", "(started)");
    EXPECT_THROW(book_.Event("host", ParseLine("00:00:00.000 mined name=x records=5 colour=red")),
                 std::invalid_argument);
    EXPECT_EQ(book_.Sum().records, 0U);
    EXPECT_THAT(book_.Life().events, SizeIs(2));
}

TEST_F(LifeBookTest, NeutralLineFindsItsEventWhereTheOrderOfMomentsPutIt) {
    book_.Begin("host", "(started)");
    book_.Event("host", {"", CLine("life").With("call", "x"), ~std::uint64_t{0} / 2});
    book_.Event("host", {"", CLine("log").With("text", "y"), ~std::uint64_t{0} / 2 - 1});
    const LifePage::Life life = book_.Life();
    EXPECT_THAT(life.neutral[0].event, Optional(2U));
    EXPECT_THAT(life.neutral[1].event, Optional(1U));
    EXPECT_EQ(life.events[1].text, "y");
    EXPECT_EQ(book_.NeutralTranscript(), "host 1: life call=x\nhost 1: log text=y\n");
}

TEST_F(LifeBookTest, NamesAndTextsOfTheScenarioStandInTheNeutralTranscript) {
    book_.Begin("product", "(started)");
    book_.Given("kill ids=11111111-2222-3333-4444-555555555555\n");
    book_.Event("product", {"", CLine("did").With("pid", "36"), 1});
    book_.Name("pid", "36", "victim.pid");
    book_.Event("product",
                ParseLine("00:00:00.000 error text=11111111-2222-3333-4444-555555555555"));
    EXPECT_EQ(book_.NeutralTranscript(),
              "product 1: error text=11111111-2222-3333-4444-555555555555\n"
              "product 1: did pid=$victim.pid\n");
}

}  // namespace
}  // namespace Kyr::Lab::Runner
