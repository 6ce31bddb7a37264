// The program asked to end by a signal. Elsewhere only a console asks so, and the suite has none.
#include <csignal>
#include <filesystem>
#include <gmock/gmock.h>

#include <boost/thread/thread.hpp>

#include "lab/common/CommandWords.h"
#include "tests/lab/simproduct/EndToEndTest.h"
#include "tests/support/system/TemporaryFolder.h"

namespace Kyr::Lab::SimProduct {
namespace {

TEST_F(EndToEndTest, PoliteTerminationEndsCleanly) {
    Run();

    const auto ready = actor_->EventAt(0);
    kill(static_cast<pid_t>(ParseNumber(Field(ready.line, "pid"))), SIGTERM);

    ExpectCleanEnd();
}

TEST_F(EndToEndTest, PoliteTerminationEndsACommandThatRuns) {
    const Kyr::Test::CTemporaryFolder folder;
    const std::string records = folder.File("records");
    Run({"--records=" + records});
    const auto ready = actor_->EventAt(0);
    // Each takes seconds, and has begun with the first record in the file.
    for (int i = 0; i < 10; ++i) {
        actor_->Send("records append telemetry count=100000");
    }
    while (std::filesystem::file_size(records) == 0) {
        boost::this_thread::yield();
    }
    kill(static_cast<pid_t>(ParseNumber(Field(ready.line, "pid"))), SIGTERM);

    EXPECT_THAT(Field(Await("error"), "text"), ::testing::StartsWith("given up after "));
    ExpectCleanEnd();
}

}  // namespace
}  // namespace Kyr::Lab::SimProduct
