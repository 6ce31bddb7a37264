// A program for an actor: says its arguments, one a line. Without arguments it repeats every line
// that it hears, until its input ends.
#include <iostream>
#include <string>

int main(int argc, char** argv) {
    for (int i = 1; i < argc; ++i) {
        std::cout << argv[i] << std::endl;
    }
    std::string line;
    while (argc == 1 && std::getline(std::cin, line)) {
        std::cout << line << std::endl;
    }
    return 0;
}
