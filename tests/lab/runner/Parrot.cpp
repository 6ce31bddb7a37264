// A program for an actor, in the place of host and product. It tells its arguments, an answer each,
// but for --obey=LINE, which it obeys, and then obeys the lines that it hears, until its input
// ends:
//
//   quit             ends with the code that the last `code` gave, else with 0
//   code NUMBER      what `quit` ends with
//   end NUMBER       ends at once, as nobody asked for
//   abort            ends by a signal, where there are any
//   die              ends as one that is killed
//   interrupt        asks whoever started it to end, where one process can ask another
//   after MS LINE    obeys LINE so many milliseconds later
//   raw TEXT         says TEXT as it stands
//   KIND ...         says the line as an event of midnight
//
// It needs nothing beside it, so that it works wherever a test copies it to.
#include <chrono>
#include <cstdlib>
#include <iostream>
#include <sstream>
#include <string>
#include <thread>

#ifndef _WIN32
#include <csignal>
#include <unistd.h>
#endif

#include "lab/common/EndThisProcess.h"

namespace {

void SayArgument(const std::string& argument) {
    std::string quoted;
    for (const char byte : argument) {
        quoted += byte == '"' || byte == '\\' ? std::string{'\\', byte} : std::string{byte};
    }
    std::cout << "00:00:00.000 answer text=\"" << quoted << '"' << std::endl;
}

/// What follows the words that have been read.
std::string Rest(std::istringstream& words) {
    std::string rest;
    std::getline(words >> std::ws, rest);
    return rest;
}

class CParrot {
  public:
    void Obey(const std::string& line) {
        std::istringstream words(line);
        std::string word;
        int number = 0;
        words >> word;
        if (word == "quit") {
            std::exit(code_);
        } else if (word == "code") {
            words >> code_;
        } else if (word == "end") {
            words >> number;
            std::exit(number);
        } else if (word == "abort") {
            std::abort();
        } else if (word == "die") {
            Kyr::Lab::EndThisProcess();
#ifndef _WIN32
        } else if (word == "interrupt") {
            kill(getppid(), SIGTERM);
#endif
        } else if (word == "after") {
            words >> number;
            std::this_thread::sleep_for(std::chrono::milliseconds(number));
            Obey(Rest(words));
        } else if (word == "raw") {
            std::cout << Rest(words) << std::endl;
        } else {
            std::cout << "00:00:00.000 " << line << std::endl;
        }
    }

  private:
    int code_ = 0;
};

}  // namespace

int main(int argc, char** argv) {
    CParrot parrot;
    const std::string obey = "--obey=";
    for (int i = 1; i < argc; ++i) {
        const std::string argument = argv[i];
        if (argument.compare(0, obey.size(), obey) == 0) {
            parrot.Obey(argument.substr(obey.size()));
        } else {
            SayArgument(argument);
        }
    }
    std::string line;
    while (std::getline(std::cin, line)) {
        if (!line.empty() && line.back() == '\r') {
            line.pop_back();
        }
        parrot.Obey(line);
    }
    return 0;
}
