#include "tests/support/time/Await.h"

#include <boost/thread/thread.hpp>

namespace Kyr::Test {

bool Await(const std::function<bool()>& reached) {
    const auto giveUp = boost::chrono::steady_clock::now() + boost::chrono::seconds(10);
    while (!reached()) {
        if (boost::chrono::steady_clock::now() > giveUp) {
            return false;
        }
        boost::this_thread::sleep_for(boost::chrono::milliseconds(1));
    }
    return true;
}

bool AwaitInterruption() {
    const boost::this_thread::disable_interruption notHere;
    return Await([] { return boost::this_thread::interruption_requested(); });
}

}  // namespace Kyr::Test
