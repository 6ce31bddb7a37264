#include "lab/common/Arguments.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace Kyr::Lab {

CArguments::CArguments(int argc, const char* const* argv) {
    bool onlyWords = false;
    for (int i = 1; i < argc; ++i) {
        const std::string argument = argv[i];
        if (onlyWords || argument.compare(0, 2, "--") != 0) {
            words_.push_back(argument);
        } else if (argument == "--") {
            onlyWords = true;
        } else if (const std::size_t equals = argument.find('='); equals == std::string::npos) {
            options_.push_back({argument.substr(2), std::nullopt});
        } else {
            options_.push_back({argument.substr(2, equals - 2), argument.substr(equals + 1)});
        }
    }
}

bool CArguments::TakeFlag(const std::string& name) {
    bool given = false;
    for (const Option& option : options_) {
        if (option.name == name) {
            if (option.value) {
                throw std::invalid_argument("--" + name + " takes no value");
            }
            given = true;
        }
    }
    options_.erase(std::remove_if(options_.begin(), options_.end(),
                                  [&](const Option& option) { return option.name == name; }),
                   options_.end());
    return given;
}

std::vector<std::string> CArguments::TakeValues(const std::string& name) {
    std::vector<std::string> values;
    std::vector<Option> others;
    for (const Option& option : options_) {
        if (option.name != name) {
            others.push_back(option);
        } else if (!option.value) {
            throw std::invalid_argument("--" + name + " needs a value");
        } else {
            values.push_back(*option.value);
        }
    }
    options_ = std::move(others);
    return values;
}

std::optional<std::string> CArguments::TakeValue(const std::string& name) {
    const std::vector<std::string> values = TakeValues(name);
    return values.empty() ? std::nullopt : std::optional<std::string>(values.back());
}

std::vector<std::string> CArguments::TakeWords() {
    return std::exchange(words_, {});
}

void CArguments::Finish() const {
    if (!options_.empty()) {
        throw std::invalid_argument("unknown option --" + options_.front().name);
    }
    if (!words_.empty()) {
        throw std::invalid_argument("'" + words_.front() + "' is one word too many");
    }
}

bool TakeColour(CArguments& arguments, bool isTerminal) {
    const std::string colour = arguments.TakeValue("colour").value_or("auto");
    if (colour == "auto") {
        return isTerminal;
    }
    if (colour != "always" && colour != "never") {
        throw std::invalid_argument("--colour takes auto, always or never");
    }
    return colour == "always";
}

}  // namespace Kyr::Lab
