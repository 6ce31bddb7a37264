#include <gmock/gmock.h>
#include <stdexcept>

#include <boost/make_shared.hpp>

#include "lab/devhost/resources/Failures.h"
#include "lab/devhost/resources/Resources.h"
#include "tests/lab/common/LineList.h"
#include "tests/support/ThrownText.h"

namespace Kyr::Test {
namespace {

using namespace Lab::DevHost;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class FailuresTest : public ::testing::Test {
  protected:
    Lab::CLineList events_;
    CFailures failures_{events_.Sink()};
};

TEST_F(FailuresTest, NothingFailsUnasked) {
    EXPECT_FALSE(failures_.Take(Failure::kRead, "key"));
    failures_.Meet(Failure::kLog, "line");
    EXPECT_THAT(events_.Texts(), IsEmpty());
}

TEST_F(FailuresTest, FaultWithACountEndsByItself) {
    failures_.Add(Failure::kWrite, {2, {}});
    EXPECT_TRUE(failures_.Take(Failure::kWrite, "one"));
    EXPECT_THAT(failures_.List(), ElementsAre("write for=1"));
    EXPECT_TRUE(failures_.Take(Failure::kWrite, "two"));
    EXPECT_FALSE(failures_.Take(Failure::kWrite, "three"));
    EXPECT_THAT(failures_.List(), IsEmpty());
}

TEST_F(FailuresTest, FaultWithoutACountLastsUntilItIsMended) {
    failures_.Add(Failure::kPublish, {});
    failures_.Mend(Failure::kWrite);
    for (int time = 0; time < 100; ++time) {
        EXPECT_TRUE(failures_.Take(Failure::kPublish, "message"));
    }
    failures_.Mend(Failure::kPublish);
    EXPECT_FALSE(failures_.Take(Failure::kPublish, "message"));
}

TEST_F(FailuresTest, FaultOfOneSubjectLeavesOthersAlone) {
    failures_.Add(Failure::kRead, {1, "key"});
    EXPECT_FALSE(failures_.Take(Failure::kRead, "other"));
    EXPECT_FALSE(failures_.Take(Failure::kWrite, "key"));
    EXPECT_TRUE(failures_.Take(Failure::kRead, "key"));
    EXPECT_FALSE(failures_.Take(Failure::kRead, "key"));
}

TEST_F(FailuresTest, FailureIsToldWithItsSubject) {
    failures_.Add(Failure::kPublish, {1, {}});
    EXPECT_EQ(ThrownText([&] { failures_.Meet(Failure::kPublish, "Response"); }),
              "the host fails to publish on request");
    EXPECT_THAT(events_.Texts(), ElementsAre("failed fault=publish subject=Response"));
}

TEST_F(FailuresTest, LineThatIsToFailIsNotInTheLog) {
    CHostLog log(failures_, {events_.Sink()});
    failures_.Add(Failure::kLog, {1, {}});
    EXPECT_THROW(log.Log("lost", 2, "module"), std::runtime_error);
    log.Log("kept", 2, "module");
    EXPECT_THAT(events_.Texts(), ElementsAre("failed fault=log subject=lost",
                                             "log level=2 source=module text=kept"));
}

TEST_F(FailuresTest, UnknownFaultIsRefusedWithThoseThatThereAre) {
    EXPECT_EQ(ThrownText<std::invalid_argument>([] { ParseFailure("bus"); }),
              "no such fault: \"bus\"; there are read, write, publish, log");
}

TEST(ResourceProviderTest, EachRequestIsToldByItsNumber) {
    Lab::CLineList events;
    CResourceProvider provider(events.Sink());
    provider.Add(4, boost::make_shared<CIdGenerator>());
    EXPECT_TRUE(provider.GetResource(4));
    EXPECT_FALSE(provider.GetResource(5));
    EXPECT_THAT(events.Texts(),
                ElementsAre("resource number=4 given=yes", "resource number=5 given=no"));
}

}  // namespace
}  // namespace Kyr::Test
