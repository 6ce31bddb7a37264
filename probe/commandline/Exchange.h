// What the command lines of all commands that speak to the product share: their options, and how
// what they throw becomes an answer.
//
// Threads: one. Errors: none are thrown by Run and RunIfYes.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "lab/common/CommandLine.h"
#include "probe/session/Session.h"
#include "probe/show/Delivery.h"
#include "probe/show/Report.h"

namespace Kyr::Probe {

/// What the chosen command does; gives the program's exit code.
using Deed = std::function<int()>;

/// What is said of any of these commands.
struct Common {
    double seconds = std::chrono::duration<double>(SessionOptions().timeLimit).count();
    bool portLayer = false;
    OutputOptions output;
    bool yes = false;

    SessionOptions Session() const;
};

using CommonPointer = std::shared_ptr<Common>;

/// Checks of values: empty, or what is wrong.
std::string CheckNumber(const std::string& text);
std::string CheckSeconds(const std::string& text);

CLI::App& AddCommand(CLI::App& app, const char* name, const char* text, const CommonPointer& all);
/// Of a command whose answer comes as one reply.
CLI::App& AddReading(CLI::App& app, const char* name, const char* text, const CommonPointer& all);
void AddYes(CLI::App& command, const CommonPointer& all);

Report Failed(const char* command, int exit, const char* cause, const std::string& text);

/// Runs a command; whatever it throws becomes a report.
int Run(const char* command, const Common& all, const std::function<Report(CSession&)>& work);
/// Only with --yes; else it says `without`, which is what it would do.
int RunIfYes(const char* command, const Common& all, const char* without,
             const std::function<Report(CSession&)>& work);

}  // namespace Kyr::Probe
