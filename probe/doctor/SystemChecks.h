// The system that product and connector meet in: native functions, the place of names, the
// registration.
//
// Threads: one. Errors: none.
#pragma once

#include "probe/doctor/Check.h"
#include "probe/session/Registration.h"

namespace Kyr::Probe {

void CheckNativeFunctions(bool portLayer, Checks& checks);
void CheckPlaceOfNames(Checks& checks);
void CheckRegistration(const Registration& registration, Checks& checks);

}  // namespace Kyr::Probe
