// A program in the place of any other. It tells its arguments, an answer each, but for --obey=LINE,
// which it obeys, and then obeys the lines that it hears, until its input ends:
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
// Where a file NAME.obey stands beside it, it tells no arguments but appends them to NAME.calls,
// and obeys the lines of that file first. What its last argument names (--filter=WORD, WORD) may
// have a file of its own, which is then obeyed instead.
//
// It needs nothing beside it, so that it works wherever a test copies it to.
#include <chrono>
#include <cstdlib>
#include <fstream>
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
            std::cout << (line.size() > 4 ? line.substr(4) : "") << std::endl;
        } else {
            std::cout << "00:00:00.000 " << line << std::endl;
        }
    }

    void TakeArgument(const std::string& argument) {
        const std::string obey = "--obey=";
        if (argument.compare(0, obey.size(), obey) == 0) {
            Obey(argument.substr(obey.size()));
        } else {
            SayArgument(argument);
        }
    }

    void ObeyLinesOf(std::istream& lines) {
        std::string line;
        while (std::getline(lines, line)) {
            if (!line.empty() && line.back() == '\r') {
                line.pop_back();
            }
            Obey(line);
        }
    }

  private:
    int code_ = 0;
};

/// What the file of what it is asked for, or of the program, says.
std::ifstream Orders(const std::string& program, const std::string& last) {
    const std::string folder = program.substr(0, program.find_last_of("/\\") + 1);
    std::ifstream own(folder + last.substr(last.find('=') + 1) + ".obey");
    return own ? std::move(own) : std::ifstream(program + ".obey");
}

}  // namespace

int main(int argc, char** argv) {
    const std::string self = argv[0];
    const std::string program = self.substr(0, self.rfind(KYR_PROGRAM_SUFFIX));
    CParrot parrot;
    if (std::ifstream(program + ".obey")) {
        std::ofstream calls(program + ".calls", std::ios::app | std::ios::binary);
        for (int i = 1; i < argc; ++i) {
            calls << (i > 1 ? " " : "") << argv[i];
        }
        calls << '\n' << std::flush;
        std::ifstream orders = Orders(program, argc > 1 ? argv[argc - 1] : "");
        parrot.ObeyLinesOf(orders);
    } else {
        for (int i = 1; i < argc; ++i) {
            parrot.TakeArgument(argv[i]);
        }
    }
    parrot.ObeyLinesOf(std::cin);
    return 0;
}
