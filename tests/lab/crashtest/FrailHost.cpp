// In the place of a host: comes to an end in the way that its one option says, or lives until its
// input ends.
#include <cstdlib>
#include <iostream>
#include <string>

#include "lab/common/EndThisProcess.h"

int main(int argc, char** argv) {
    const std::string option = "--end=";
    std::string way;
    for (int i = 1; i < argc; ++i) {
        const std::string argument = argv[i];
        if (argument.compare(0, option.size(), option) == 0) {
            way = argument.substr(option.size());
        }
    }
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
