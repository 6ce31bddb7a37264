#include <gmock/gmock.h>
#include <stdexcept>

#include <boost/make_shared.hpp>

#include "lab/devhost/resources/Faults.h"
#include "lab/devhost/resources/HostLog.h"
#include "lab/devhost/resources/Resources.h"
#include "tests/lab/common/LineList.h"

namespace Kyr::Test {
namespace {

using namespace Lab::DevHost;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class FaultsTest : public ::testing::Test {
  protected:
    Lab::CLineList events_;
    CFaults faults_{events_.Sink()};
};

TEST_F(FaultsTest, NothingFailsUnasked) {
    EXPECT_FALSE(faults_.Take(Fault::kRead, "key"));
    faults_.Meet(Fault::kLog, "line");
    EXPECT_THAT(events_.Texts(), IsEmpty());
}

TEST_F(FaultsTest, FaultWithACountEndsByItself) {
    faults_.Add(Fault::kWrite, {2, {}});
    EXPECT_TRUE(faults_.Take(Fault::kWrite, "one"));
    EXPECT_THAT(faults_.List(), ElementsAre("write for=1"));
    EXPECT_TRUE(faults_.Take(Fault::kWrite, "two"));
    EXPECT_FALSE(faults_.Take(Fault::kWrite, "three"));
    EXPECT_THAT(faults_.List(), IsEmpty());
}

TEST_F(FaultsTest, FaultWithoutACountLastsUntilItIsMended) {
    faults_.Add(Fault::kPublish, {});
    for (int time = 0; time < 100; ++time) {
        EXPECT_TRUE(faults_.Take(Fault::kPublish, "message"));
    }
    EXPECT_THAT(faults_.List(), ElementsAre("publish"));
    faults_.Mend(Fault::kPublish);
    EXPECT_FALSE(faults_.Take(Fault::kPublish, "message"));
}

TEST_F(FaultsTest, FaultsAreOfOneKindEach) {
    faults_.Add(Fault::kRead, {});
    EXPECT_FALSE(faults_.Take(Fault::kWrite, "key"));
    faults_.Mend(Fault::kWrite);
    EXPECT_TRUE(faults_.Take(Fault::kRead, "key"));
}

TEST_F(FaultsTest, FaultOfOneSubjectLeavesOthersAlone) {
    faults_.Add(Fault::kRead, {1, "key"});
    EXPECT_FALSE(faults_.Take(Fault::kRead, "other"));
    EXPECT_THAT(faults_.List(), ElementsAre("read for=1 of=key"));
    EXPECT_TRUE(faults_.Take(Fault::kRead, "key"));
    EXPECT_FALSE(faults_.Take(Fault::kRead, "key"));
}

TEST_F(FaultsTest, FailureIsToldWithItsSubject) {
    faults_.Add(Fault::kPublish, {1, {}});
    try {
        faults_.Meet(Fault::kPublish, "Response");
        FAIL() << "no exception";
    } catch (const std::runtime_error& problem) {
        EXPECT_STREQ("the host fails to publish on request", problem.what());
    }
    EXPECT_THAT(events_.Texts(), ElementsAre("failed fault=publish subject=Response"));
}

TEST_F(FaultsTest, UnknownFaultIsRefusedWithTheNamesOfTheOthers) {
    try {
        ParseFault("bus");
        FAIL() << "no exception";
    } catch (const std::invalid_argument& problem) {
        EXPECT_STREQ("no such fault: bus; there are read, write, publish, log", problem.what());
    }
}

TEST_F(FaultsTest, LineThatIsToFailIsNotInTheLog) {
    CHostLog log(faults_, {events_.Sink()});
    faults_.Add(Fault::kLog, {1, {}});
    EXPECT_THROW(log.Log("lost", 2, "module"), std::runtime_error);
    log.Log("kept", 2, "module");
    EXPECT_THAT(events_.Texts(), ElementsAre("failed fault=log subject=lost",
                                             "log level=2 source=module text=kept"));
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
