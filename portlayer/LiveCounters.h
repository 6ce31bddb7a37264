// How many objects of this layer are alive in the process, for tests: a test that cleaned up leaves
// every counter as it found it, at zero.
//
// Threads: any. The counters are read one by one, so a snapshot is exact only while nothing runs.
#pragma once

#include <cstdint>
#include <string>

namespace Kyr::PortLayer {

struct LiveCounters {
    std::int64_t ports = 0;          // connection, server and client port handles
    std::int64_t connections = 0;    // ends of connections, sockets included
    std::int64_t events = 0;         // event handles
    std::int64_t threads = 0;        // thread handles
    std::int64_t mutexes = 0;        // mutex handles
    std::int64_t sections = 0;       // named section handles
    std::int64_t mappedViews = 0;    // views of named sections
    std::int64_t portSections = 0;   // sections of advanced ports
    std::int64_t sectionViews = 0;   // views made on port sections and not released
    std::int64_t receivedViews = 0;  // views that came with a message and were not released
    std::int64_t unreleasedMessages =
        0;                             // received messages still to be sent back with the release
    std::int64_t pendingRequests = 0;  // received requests that are not answered

    bool AllZero() const;
    /// One line that names every counter that is not zero.
    std::string Text() const;
};

LiveCounters ReadLiveCounters();

}  // namespace Kyr::PortLayer
