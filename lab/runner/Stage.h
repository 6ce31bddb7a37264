// Where host and product of one run play: which programs they are, where their ports have their
// names, and where they leave their files. Several runs can go on beside each other.
//
// Threads: any.
// Errors: std::runtime_error when a program cannot be started.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "lab/runner/Actor.h"

namespace Kyr::Lab::Runner {

struct Stage {
    std::string programs;                // folder of simproduct, devhost and victim
    std::string library;                 // the module library
    std::string ports = {};              // folder in which the ports of this run have their names
    std::string work = {};               // folder for what the programs leave
    std::string product = "simproduct";  // the program that plays the product
    std::vector<std::string> hostOptions = {};  // what every host is started with besides

    std::string File(const std::string& name) const;
    std::string HostLog() const { return File("host.log"); }
    std::string HostDatabase() const { return File("host.db"); }

    /// Starts "host" or "product"; what it is told here comes behind what every one is told.
    std::unique_ptr<CActor> Start(const std::string& actor,
                                  const std::vector<std::string>& arguments,
                                  CActor::Listener listener) const;
};

}  // namespace Kyr::Lab::Runner
