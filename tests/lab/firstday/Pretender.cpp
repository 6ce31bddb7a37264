// Stands in the place of every program that is tried on the first day: what it does is said by the
// file NAME.does beside it, in one of these words, then the text to write:
//
//   end CODE     writes the text and ends
//   stay         writes the text and stays, until it is killed
//   serve        writes the text, and ends when it is told "quit"; with arguments ends at once
//
// As the contract it lists its three tests, and behaves as "<test>.does" says when it is asked for
// one. It appends its arguments to NAME.calls.
#include <chrono>
#include <fstream>
#include <iostream>
#include <string>
#include <thread>

namespace {

int Behave(const std::string& file, bool hasArguments) {
    std::ifstream deeds(file);
    std::string word;
    int code = 0;
    deeds >> word;
    if (word == "serve" && hasArguments) {
        return 0;
    }
    if (word == "end") {
        deeds >> code;
    }
    std::string line;
    std::getline(deeds, line);
    while (std::getline(deeds, line)) {
        std::cout << line << std::endl;
    }
    while (word == "stay") {
        std::this_thread::sleep_for(std::chrono::hours(1));
    }
    if (word == "serve") {
        std::getline(std::cin, line);
    }
    return code;
}

}  // namespace

int main(int argc, char** argv) {
    const std::string self = argv[0];
    const std::string name = self.substr(0, self.rfind(KYR_PROGRAM_SUFFIX));
    const std::string folder = self.substr(0, self.find_last_of("/\\") + 1);
    std::ofstream calls(name + ".calls", std::ios::app | std::ios::binary);
    for (int at = 1; at < argc; ++at) {
        calls << (at > 1 ? " " : "") << argv[at];
    }
    calls << '\n' << std::flush;
    const std::string last = argc > 1 ? argv[argc - 1] : "";
    const std::string filter = "--gtest_filter=";
    return Behave(last.compare(0, filter.size(), filter) == 0
                      ? folder + last.substr(filter.size()) + ".does"
                      : name + ".does",
                  argc > 1);
}
