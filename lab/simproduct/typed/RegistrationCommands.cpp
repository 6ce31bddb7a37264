#include "lab/simproduct/typed/RegistrationCommands.h"

#include <stdexcept>

namespace Kyr::Lab::SimProduct {

namespace {

std::int32_t BuildOf(const Words& words) {
    const std::string key = "build=";
    RequireWords(words, 2);
    if (words.size() < 2 || words[1].compare(0, key.size(), key) != 0) {
        throw std::invalid_argument("build=<n> is wanted");
    }
    return ParseBuild(words[1].substr(key.size()));
}

}  // namespace

ConsoleCommandGroup RegistrationCommands(IRegistration& registration, LineSink sink) {
    return {
        {"install", "install build=<n>", "register the product as installed, or as upgraded",
         [&registration, sink](const Words& words) {
             const std::int32_t build = BuildOf(words);
             registration.Install(build);
             sink(AnswerTo("install").With("build", std::to_string(build)));
         }},
        {"uninstall", "uninstall", "take the registration back; the ports stay open",
         [&registration, sink](const Words& words) {
             RequireWords(words, 1);
             registration.Uninstall();
             sink(AnswerTo("uninstall"));
         }},
    };
}

}  // namespace Kyr::Lab::SimProduct
