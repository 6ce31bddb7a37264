// Starts a program whose input and output we hold; the way to start one differs between systems.
//
// Threads: any may start one; the streams have one owner. Errors: by `error`.
#pragma once

#include <string>
#include <system_error>
#include <vector>

#include <boost/process/child.hpp>
#include <boost/process/environment.hpp>
#include <boost/process/pipe.hpp>

namespace Kyr::Lab::Runner {

/// The child keeps no handle of ours but the two ends that belong to it: one that kept the pipes of
/// another would hide the other's end. From then on, what this process writes to one that has ended
/// is lost, and that is all: where a signal tells of it, it is ignored.
boost::process::child StartChild(const std::string& program,
                                 const std::vector<std::string>& arguments,
                                 const boost::process::environment& environment,
                                 boost::process::opstream& input, boost::process::ipstream& output,
                                 std::error_code& error);

/// How a process that was waited for has ended: "with code 3" or, where signals end processes, the
/// name of the one that did, "by SIGBUS".
std::string EndText(const boost::process::child& child);

}  // namespace Kyr::Lab::Runner
