// What a run told, without what differs between two runs of one scenario, or between systems: bus
// messages, log lines, life-cycle calls, what went over the ports, and what the product did.
//
//   - Times, process ids, hashes, paths and counters have their place but no value. What the
//     scenario gave a name (`as victim`) is written as that name, in texts and in wire bytes.
//   - Identifiers that the scenario did not give itself are `<uuid>`, dates are `<time>`.
//   - Several threads tell, so that only the order among events of one stream of one process is
//     kept: these stand together. What the host asks, what the connector's watch tells and what
//     its task thread tells are streams of their own.
//   - What comes with every look of the watch comes as often as time passes: pings, and where the
//     watch collects, requests for records and the replies that have none. Each is told once, in no
//     order.
//   - What records tell of the processes of this computer is left out (NeutralRecords.h).
//   - Wire bytes are text as far as they can be; a long row of equal ones is one with its length.
//
// Threads: any.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "lab/runner/life/ToldEvents.h"

namespace Kyr::Lab::Runner {

/// What a scenario calls a value that is another one in every run.
struct KnownName {
    std::string value;
    std::string name;
    std::size_t since;  // so many events had been told: the value may have meant another one before
};

/// What a scenario has said itself, and calls by names.
struct GivenTexts {
    /// The scenario calls the field `key` of an event, which has `value`, by `name`: from now on,
    /// when so many events were told, and before where the value had no name. Nothing happens where
    /// the value is the same in every run.
    void Name(const std::string& key, const std::string& value, const std::string& name,
              std::size_t told);

    std::string text;  // identifiers in it are the same in every run
    std::vector<KnownName> names;
};

/// A line of the transcript, and the place of the event that it was told by among all that were.
struct ToldLine {
    std::string text;
    std::size_t told;
};

/// The lines of a whole run. Events know the place of their process in `processes`, which has the
/// names of all ("host 2").
std::vector<ToldLine> NeutralLines(const std::vector<ToldEvent>& told,
                                   const std::vector<LifePage::Process>& processes,
                                   const GivenTexts& given);

/// The first line in which a transcript differs from the one that was expected, as each has it;
/// empty when they are the same. Every line of a transcript is ended by "\n".
std::string FirstDifference(const std::string& expected, const std::string& told);

}  // namespace Kyr::Lab::Runner
