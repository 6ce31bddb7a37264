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
// Threads: Event from any thread; the rest by one.
#pragma once

#include <cstddef>
#include <map>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "lab/common/LineProtocol.h"

namespace Kyr::Lab::Runner {

/// A line of a neutral transcript, and the event that it was told by.
struct NeutralLine {
    std::string text;
    std::size_t event;
};

class CNeutralTranscript {
  public:
    /// A process of `actor` is started; what follows is told of this one.
    void Begin(const std::string& actor);
    /// `number` is what the caller knows it by.
    void Event(const std::string& actor, const CLine& line, std::size_t number = 0);

    /// The scenario calls the field `key` of an event, which has `value`, by `name`: from now on,
    /// and so far where the value had no name. Nothing happens where the value is the same in every
    /// run.
    void Name(const std::string& key, const std::string& value, const std::string& name);
    /// The scenario itself contains this text; identifiers in it are the same in every run.
    void Given(const std::string& text) { given_ += text; }

    /// The whole transcript, one event a line, every line ended by "\n".
    std::string Text() const;
    /// The same, a line an event.
    std::vector<NeutralLine> Lines() const;

  private:
    struct SeenEvent {
        std::string process;
        CLine line;
        std::size_t number;
    };
    struct KnownName {
        std::string value;
        std::string name;
        std::size_t since;  // so many events had been told
    };
    using Names = std::map<std::string, std::string>;  // by value

    Names NamesAt(std::size_t event) const;
    std::string Neutral(const CLine& line, const Names& names) const;
    std::string NeutralField(const std::string& key, const std::string& value,
                             const Names& names) const;
    std::string NeutralText(std::string text, const Names& names) const;

    mutable std::mutex mutex_;              // guards what follows, up to the names
    std::map<std::string, int> processes_;  // how many each actor had
    std::vector<SeenEvent> events_;
    std::vector<KnownName> names_;

    std::string given_;
};

/// The first line in which two transcripts differ, as each has it; empty when they are the same.
std::string FirstDifference(const std::string& expected, const std::string& told);

}  // namespace Kyr::Lab::Runner
