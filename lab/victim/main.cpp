// A process that does nothing but wait to be ended: what kill requests are tried on.
//
//     victim [<name>] [--seconds=<n>]
//
// The name only shows in the system's list of processes. It ends by itself after n seconds (300
// without the option), so that nothing is left behind when nobody comes for it.

#include <chrono>
#include <exception>
#include <iostream>
#include <thread>

#include "lab/common/Arguments.h"
#include "lab/common/LineProtocol.h"

int main(int argc, char** argv) {
    try {
        Kyr::Lab::CArguments arguments(argc, argv);
        const std::string seconds = arguments.TakeValue("seconds").value_or("300");
        arguments.TakeWords();
        arguments.Finish();
        std::this_thread::sleep_for(std::chrono::seconds(Kyr::Lab::ParseNumber(seconds)));
        return 0;
    } catch (const std::exception& problem) {
        std::cerr << "victim: " << problem.what() << '\n';
        return 2;
    }
}
