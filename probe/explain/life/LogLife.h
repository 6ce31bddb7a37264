// A host's log and the story in it as one life, for the page that shows it (lifepage/).
//
// What a log does not tell is left out: the wire, records, steps, and how a host has ended. Texts
// of lines stand there as they are; what the story says is ours.
//
// Threads: any. Errors: none.
#pragma once

#include <string>

#include "lifepage/Life.h"
#include "probe/explain/HostLog.h"
#include "probe/explain/Story.h"

namespace Kyr::Probe {

/// `story` is that of `log`. `toldBy`: when, and by what, it was read.
LifePage::Life LifeOf(const HostLog& log, const Story& story, std::string toldBy);

}  // namespace Kyr::Probe
