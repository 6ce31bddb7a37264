// Which of the events that one process tells stand in an order that is the same in every run.
//
// Several threads tell beside each other: those of the host, the connector's task thread and
// its watch, the product's. The events of one stream are one thread's, or follow from each other.
// Threads: one.
#pragma once

#include <set>
#include <string>
#include <vector>

#include "lab/common/LineProtocol.h"

namespace Kyr::Lab::Runner {

/// Finds the stream of each event of a run, which are given in their order.
class CTranscriptStreams {
  public:
    /// What comes with every look of the connector's watch: as often as time passes, and its
    /// threads beside each other, so that neither count nor order means anything.
    static constexpr char kLook[] = "look";

    /// The streams of the library and of what the product was asked, in the order in which they
    /// stand in a transcript. Most are a kind of event. Answers, connections, and the starts and
    /// ends of programs, which are the lab's, are none of them.
    static const std::vector<std::string>& All();

    /// Whether the watch asks for records by this event.
    static bool IsCollection(const CLine& line);

    /// Whether the watch tells of it: a line of its own in the host's log, or what it asks for.
    static bool IsOfTheWatch(const CLine& line);

    /// `collected`: the watch does so in this run. Requests for records are part of its looks then;
    /// else somebody gave each of them.
    explicit CTranscriptStreams(bool collected) : collected_(collected) {}

    /// The stream of `line`, which `process` has told.
    std::string Of(const std::string& process, const CLine& line);

  private:
    bool IsOfACollection(const std::string& process, const CLine& line);

    const bool collected_;
    std::set<std::string> asked_;  // requests for records: process and identifier
};

}  // namespace Kyr::Lab::Runner
