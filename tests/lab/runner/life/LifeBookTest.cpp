#include <gmock/gmock.h>
#include <sstream>

#include "lab/runner/life/LifeBook.h"

namespace Kyr::Lab::Runner {
namespace {

using ::testing::ElementsAre;
using ::testing::Field;
using ::testing::Optional;
using ::testing::SizeIs;

class LifeBookTest : public ::testing::Test {
  protected:
    std::ostringstream transcript_;
};

TEST_F(LifeBookTest, ProcessesOfOneActorAreCounted) {
    CLifeBook book(transcript_, "now labrunner");
    book.Begin("host", "(started)");
    book.End("host", "with code 0");
    book.End("host", "with code 0");  // nothing more
    book.Begin("host", "(started)");
    const LifePage::Life life = book.Life();
    EXPECT_EQ(life.toldBy, "now labrunner");
    EXPECT_THAT(life.processes, ElementsAre(Field(&LifePage::Process::name, "host 1"),
                                            Field(&LifePage::Process::name, "host 2")));
    EXPECT_EQ(life.processes[0].end, "with code 0");
    EXPECT_EQ(life.processes[1].end, "");
    EXPECT_EQ(life.processes[1].until, life.length);
    EXPECT_THAT(life.events, SizeIs(3));
}

TEST_F(LifeBookTest, StepsTellHowTheyEnded) {
    CLifeBook book(transcript_, "");
    book.Title("A title");
    book.Step("one");
    book.StepDone({"", "one", true, "", {}});
    book.Step("two");
    book.StepDone({"", "two", false, "line 7: no", {}});
    const LifePage::Life life = book.Life();
    EXPECT_EQ(life.title, "A title");
    ASSERT_THAT(life.steps, SizeIs(2));
    EXPECT_EQ(life.steps[0].end, LifePage::Step::End::kHeld);
    EXPECT_EQ(life.steps[1].end, LifePage::Step::End::kFailed);
    EXPECT_EQ(life.steps[1].failure, "line 7: no");
    EXPECT_LE(life.steps[0].until, life.steps[1].from);
}

TEST_F(LifeBookTest, FailureBeforeTheFirstStepIsAStep) {
    CLifeBook book(transcript_, "");
    book.StepDone({"", "before the first step", false, "line 1: no", {}});
    ASSERT_THAT(book.Life().steps, SizeIs(1));
    EXPECT_EQ(book.Life().steps[0].text, "before the first step");
}

TEST_F(LifeBookTest, NeutralLineFindsItsEventWhereTheOrderOfMomentsPutIt) {
    CLifeBook book(transcript_, "");
    book.Begin("host", "(started)");
    book.Event("host", {"", CLine("life").With("call", "x"), ~std::uint64_t{0} / 2});
    book.Event("host", {"", CLine("log").With("text", "y"), ~std::uint64_t{0} / 2 - 1});
    const LifePage::Life life = book.Life();
    EXPECT_THAT(life.neutral[0].event, Optional(2U));
    EXPECT_THAT(life.neutral[1].event, Optional(1U));
    EXPECT_EQ(life.events[1].text, "y");
    EXPECT_EQ(book.NeutralTranscript(), "host 1: life call=x\nhost 1: log text=y\n");
}

TEST_F(LifeBookTest, NamesAndTextsOfTheScenarioStandInTheNeutralTranscript) {
    CLifeBook book(transcript_, "");
    book.Begin("product", "(started)");
    book.Given("kill ids=11111111-2222-3333-4444-555555555555\n");
    book.Event("product", {"", CLine("did").With("pid", "36"), 1});
    book.Name("pid", "36", "victim.pid");
    book.Event("product",
               ParseLine("00:00:00.000 error text=11111111-2222-3333-4444-555555555555"));
    EXPECT_EQ(book.NeutralTranscript(),
              "product 1: error text=11111111-2222-3333-4444-555555555555\n"
              "product 1: did pid=$victim.pid\n");
}

}  // namespace
}  // namespace Kyr::Lab::Runner
