// One life of a connector, as a page shows it: everything that host and product told, in one order
// and by one clock, and what follows from it.
//
// Who has watched a life fills this in, and leaves the rest to the page. Texts are those of others:
// any bytes, of any length.
//
// Threads: values; each object by one thread at a time.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace Kyr::LifePage {

/// Since the life began.
using Moment = std::chrono::nanoseconds;

/// Whose doing an event is. The page draws them below each other in this order.
enum class Lane { kHost, kBus, kTask, kWatch, kWire, kProduct, kArea };

enum class Weight { kDetail, kOrdinary, kWarning, kError };

/// One process of a program.
struct Process {
    std::string name;  // "host 2"
    Moment from{};
    Moment until{};
    std::string end;  // how it ended; empty: it is not known
};

/// A field of bytes that were taken apart.
struct Part {
    std::size_t offset = 0;
    std::size_t length = 0;
    std::string name;
    std::string value;
    std::string wrong;  // empty: nothing
};

/// A row of a log: symbols with their values.
struct Row {
    std::string name;
    std::vector<std::pair<std::string, std::string>> symbols;
};

struct Event {
    Moment at{};
    Lane lane = Lane::kHost;
    std::string kind;
    std::size_t process = 0;
    Weight weight = Weight::kOrdinary;
    std::string text;
    int level = 0;  // of a log line, 1 to 4
    std::vector<std::pair<std::string, std::string>> fields;
    std::vector<Row> rows;
    std::string bytes;  // of a request or a reply
    std::vector<Part> parts;
    std::optional<std::size_t> answers;  // the event that this one is the reply to
    std::optional<std::size_t> message;  // the event with which its bus message began
    std::vector<std::size_t> tasks;      // to which it belongs
};

struct Step {
    enum class End { kHeld, kFailed };

    Moment from{};
    Moment until{};
    std::string text;
    End end = End::kHeld;
    std::string failure;
};

/// One station on the road of a task.
struct Station {
    Moment at{};
    std::string text;
    Weight weight = Weight::kOrdinary;
    std::size_t event = 0;
};

struct Task {
    enum class State {
        kGiven,            // to the host; the product was not asked
        kAsked,            // the product, which has not answered
        kAccepted,         // by the product; no outcome yet
        kAcceptedNotDone,  // the product took it and told that it does not do it
        kFailing,          // it is tried again
        kDone,
        kDoneWithWarning,
        kFailed,
        kGivenUp,
        kDropped,  // its host ended first
        kTold,     // it has an outcome, and nobody has told which
    };

    std::string what;
    std::vector<std::string> identifiers;
    Moment from{};
    Moment until{};  // of its last station
    std::size_t attempts = 0;
    State state = State::kGiven;
    std::string why;  // it is not done; empty: nothing went wrong with it
    std::vector<Station> road;
};

/// Records that left the product in one reply.
struct Batch {
    Moment at{};
    std::uint64_t from = 0;  // the position of the first
    std::uint64_t records = 0;
    std::size_t event = 0;
};

struct Records {
    std::string kind;
    std::vector<Batch> batches;
    std::optional<std::uint64_t> sent;    // of these so many were for the host
    std::optional<std::uint64_t> stored;  // by the host
    std::optional<std::uint64_t> twice;
    std::optional<std::uint64_t> lost;
};

/// A time in which the connector was not connected, whether or not the product was there.
struct Outage {
    Moment from{};
    Moment until{};
    bool over = false;
    bool first = false;        // there was no connection before
    bool hostStopped = false;  // and with it the time, without a connection
    std::string cause;
    std::size_t attempts = 0;
    std::size_t event = 0;  // with which it began
};

/// What is known of the time at which a life was.
enum class Clock {
    kDate,       // all of it
    kTimeOfDay,  // nobody has told the day: `begin` lies in the first one of 1970
    kOrder,      // nothing: moments are places in an order, a millisecond each
};

/// What a run tells in the same words on every system; two lives are compared by these.
struct NeutralLine {
    std::string text;
    std::optional<std::size_t> event;
};

struct Life {
    std::string title;
    std::string toldBy;  // by what it was watched
    Clock clock = Clock::kDate;
    std::chrono::system_clock::time_point begin;
    Moment length{};
    std::vector<Process> processes;
    std::vector<Step> steps;
    std::vector<Event> events;  // in their order
    std::vector<Task> tasks;
    std::vector<Records> records;
    std::vector<Outage> outages;
    std::vector<NeutralLine> neutral;
};

}  // namespace Kyr::LifePage
