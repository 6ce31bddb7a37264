// Records as texts: JSON in the fields of the Elastic Common Schema.
//
// Every record carries its own number in `event.sequence`, so that whoever keeps records can tell
// those that came twice and those that never came.
#pragma once

#include <cstdint>
#include <string>

namespace Kyr::Lab::SimProduct {

/// The fields that all records have.
struct EcsEvent {
    std::uint64_t sequence = 0;
    std::int64_t time = 0;  // seconds since 1970-01-01T00:00:00 UTC
    std::string kind;       // "event", "alert"
    std::string category;   // "process", "malware"
    std::string type;       // "start", "end", "info"
    std::string action;     // what happened, in words of the product
};

/// What is known of a process.
struct EcsProcess {
    std::uint64_t pid = 0;
    std::uint64_t parentPid = 0;
    std::string name;
    std::string executable;
    std::string sha256;
};

/// What of a text is not UTF-8 is left out.
std::string ProcessRecord(const EcsEvent& event, const EcsProcess& process);

/// A record that was made up: a message that fills it to `size` bytes; longer when that is too
/// little for what every record has.
std::string SampleRecord(const EcsEvent& event, std::size_t size);

/// Seconds since 1970-01-01T00:00:00 UTC as "2023-11-14T22:13:20Z".
std::string IsoTime(std::int64_t time);

}  // namespace Kyr::Lab::SimProduct
