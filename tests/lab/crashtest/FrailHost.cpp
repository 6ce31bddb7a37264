// In the place of a host: comes to an end in the way that its one option says, or lives until its
// input ends.
#include <cstdlib>
#include <iostream>
#include <string>

#include "lab/common/Arguments.h"
#include "lab/common/EndThisProcess.h"

int main(int argc, char** argv) {
    Kyr::Lab::CArguments arguments(argc, argv);
    const std::string way = arguments.TakeValue("end").value_or("");
    if (way == "killed") {
        Kyr::Lab::EndThisProcess();
    }
    if (way == "aborted") {
        std::abort();
    }
    if (!way.empty()) {
        return std::stoi(way);
    }
    for (std::string line; std::getline(std::cin, line);) {
    }
    return 0;
}
