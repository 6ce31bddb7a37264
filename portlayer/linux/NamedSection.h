// What becomes of views whose sections somebody removed from the run directory.
#pragma once

namespace Kyr::PortLayer::Detail {

/// Lets every such view show the section that has the name by now. In the system a name leads to
/// one object as long as somebody holds it; here a directory that is cleared under its holders
/// gives the next server new files. Whoever connects to that server is to see its section. Threads:
/// any.
void RenewViews();

}  // namespace Kyr::PortLayer::Detail
