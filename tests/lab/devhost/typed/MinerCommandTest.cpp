#include <gmock/gmock.h>
#include <stdexcept>

#include "lab/devhost/typed/MinerCommand.h"
#include "tests/lab/common/LineList.h"

namespace Kyr::Test {
namespace {

using Common::Kernel::MessageType;
using Lab::DevHost::CDatabase;
using ::testing::ElementsAre;

class MinerCommandTest : public ::testing::Test {
  protected:
    std::vector<std::string> Run(const std::vector<std::string>& words) {
        Lab::CLineList events;
        Lab::CCommandWords arguments(words);
        MakeMinerCommand(database_).run(arguments, events.Sink());
        return events.Texts();
    }

    CDatabase database_{":memory:"};
};

TEST_F(MinerCommandTest, WithoutRecordsEverythingIsZero) {
    EXPECT_THAT(Run({}), ElementsAre("tally kind=indicator stored=0 twice=0 in-order=yes",
                                     "tally kind=telemetry stored=0 twice=0 in-order=yes",
                                     "tally kind=action stored=0 twice=0 in-order=yes",
                                     "answer command=miner"));
}

TEST_F(MinerCommandTest, WhatWasSentAndNeverCameIsLost) {
    database_.Miner().Store(
        MessageType::DataMinerStoreEcsTelemetryLogs,
        {"{\"event\":{\"sequence\":1}}", "{\"event\":{\"sequence\":1}}", "something"});
    EXPECT_EQ("tally kind=telemetry sent=5 stored=3 twice=1 lost=3 in-order=yes",
              Run({"telemetry=5"}).at(1));
}

TEST_F(MinerCommandTest, ActionsAreCountedByTheTextInThem) {
    const std::string action = "\x08\x03\x12\x18{\"event\":{\"sequence\":1}}";
    database_.RemediationActions().StoreActions({action, action});
    EXPECT_EQ("tally kind=action sent=1 stored=2 twice=1 lost=0 in-order=yes",
              Run({"action=1"}).at(2));
}

TEST_F(MinerCommandTest, WhatIsNotUnderstoodIsRefused) {
    EXPECT_THROW(Run({"tasks=1"}), std::invalid_argument);
    EXPECT_THROW(Run({"action=many"}), std::invalid_argument);
}

}  // namespace
}  // namespace Kyr::Test
