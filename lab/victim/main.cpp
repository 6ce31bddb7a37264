// A process that does nothing but wait to be ended: what kill requests are tried on.
//
//     victim [<name>] [--seconds=<n>]
//
// The name only shows in the system's list of processes. It ends by itself after n seconds (300
// without the option), so that nothing is left behind when nobody comes for it.

#include <charconv>
#include <chrono>
#include <iostream>
#include <string_view>
#include <thread>

int main(int argc, char** argv) {
    constexpr std::string_view kOption = "--seconds=";
    unsigned seconds = 300;
    for (int i = 1; i < argc; ++i) {
        std::string_view argument = argv[i];
        if (argument.substr(0, 2) != "--") {
            continue;  // the name
        }
        const bool known = argument.substr(0, kOption.size()) == kOption;
        argument.remove_prefix(known ? kOption.size() : 0);
        const char* const end = argument.data() + argument.size();
        const auto number = std::from_chars(argument.data(), end, seconds);
        if (!known || number.ec != std::errc() || number.ptr != end) {
            std::cerr << "usage: victim [<name>] [--seconds=<n>]\n";
            return 2;
        }
    }
    std::this_thread::sleep_for(std::chrono::seconds(seconds));
    return 0;
}
