// `doctor`: everything that is looked at, in the order in which things depend on each other.
//
// Threads: one. Errors: none; what is wrong stands in the report.
#pragma once

#include <string>

#include "probe/doctor/AreaSnapshot.h"
#include "probe/session/SessionOptions.h"
#include "probe/show/Report.h"

namespace Kyr::Probe {

struct DoctorOptions {
    SessionOptions session;
    std::string database;  // of a host; empty: none
    std::string log;
};

Report Examine(const DoctorOptions& options);
/// The same with a look at the area that has been taken already: each look mends a mutex that was
/// abandoned.
Report Examine(const DoctorOptions& options, const AreaSnapshot& area);
AreaSnapshot LookAtArea(const SessionOptions& options);

}  // namespace Kyr::Probe
