// What the command lines of the lab's programs have in common. Includes CLI11, which takes long to
// compile: for the sources that read a command line, and no others.
//
// Threads: one. Errors: none.
#pragma once

#include <iostream>
#include <optional>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "lab/common/CommandInput.h"

namespace Kyr::Lab {

constexpr int kBadCommandLine = 2;  // an exit code; scripts rely on it

/// The program, and the command of it that was given.
inline std::string CommandOf(const CLI::App& app) {
    const std::vector<CLI::App*> commands = app.get_subcommands();
    return app.get_name() + (commands.empty() ? "" : " " + CommandOf(*commands.front()));
}

/// Reads the command line. Gives the exit code of a program that shall not go on, because it was
/// asked for help or its version, or because nobody understands what it was given; everything has
/// been said then.
inline std::optional<int> ReadCommandLine(CLI::App& app, int argc, char** argv) {
    app.allow_windows_style_options(false);  // else a path that begins with a slash is an option
    try {
        app.parse(argc, argv);
        return std::nullopt;
    } catch (const CLI::Success& asked) {
        return app.exit(asked);
    } catch (const std::exception& problem) {
        // Told first: it may be what was meant for an option that is missing now.
        const std::vector<std::string> strange = app.remaining();
        std::cerr << app.get_name() << ": "
                  << (strange.empty() ? problem.what() : "not understood: " + strange.front())
                  << '\n'
                  << "`" << CommandOf(app) << " --help` tells what it takes\n";
        return kBadCommandLine;
    }
}

/// The option --colour.
class CColourOption {
  public:
    explicit CColourOption(CLI::App& app) {
        app.add_option("--colour", colour_, "colours; auto: on a terminal")
            ->check(CLI::IsMember({"auto", "always", "never"}));
    }
    bool IsColoured() const {
        return colour_ == "always" || (colour_ == "auto" && OutputIsTerminal());
    }

  private:
    std::string colour_ = "auto";
};

}  // namespace Kyr::Lab
