// The program asked to end by a signal. Elsewhere only a console asks so, and the suite has none.
#include <csignal>

#include "lab/common/CommandWords.h"
#include "tests/lab/simproduct/EndToEndTest.h"

namespace Kyr::Lab::SimProduct {
namespace {

TEST_F(EndToEndTest, PoliteTerminationEndsCleanly) {
    Run();

    const auto ready = actor_->EventAt(0);
    kill(static_cast<pid_t>(ParseNumber(Field(ready.line, "pid"))), SIGTERM);

    ExpectCleanEnd();
}

TEST_F(EndToEndTest, PoliteTerminationEndsACommandThatRuns) {
    Run();
    const auto ready = actor_->EventAt(0);
    // Each takes long; without an end there would be hours of them.
    for (int i = 0; i < 1000; ++i) {
        actor_->Send("records append telemetry count=100000");
    }
    kill(static_cast<pid_t>(ParseNumber(Field(ready.line, "pid"))), SIGTERM);

    ExpectCleanEnd();
}

}  // namespace
}  // namespace Kyr::Lab::SimProduct
