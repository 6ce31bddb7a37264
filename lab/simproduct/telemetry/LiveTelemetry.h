// Real telemetry: a record for every process that starts or ends on this computer.
//
// Looks at the list of processes ten times a second, and so never sees a process that lives shorter
// than that. A process is recorded at the second sight of it: at the first it may still be the copy
// of its parent that is about to become another program.
//
// Writes an `observed` event for each record.
//
// Threads: Start and Stop by one thread; the looking is done by a thread of its own.
// Ownership: table and lists must outlive this.
// Errors: what keeps a look from being taken is an `error` event, and ends the telemetry.
#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <tuple>

#include <boost/shared_ptr.hpp>
#include <boost/thread/thread.hpp>

#include "base/Clock.h"
#include "lab/common/LineWriter.h"
#include "lab/simproduct/records/EcsRecord.h"
#include "lab/simproduct/records/RecordLists.h"
#include "lab/simproduct/telemetry/ProcessTable.h"

namespace Kyr::Lab::SimProduct {

/// The processes that are recorded: all, unless one of these says less.
struct TelemetryScope {
    std::string program = {};     // of this name only, without its suffix
    std::uint64_t parentPid = 0;  // only what this process has started
};

class CLiveTelemetry {
  public:
    CLiveTelemetry(IProcessTable& table, CRecordLists& lists, boost::shared_ptr<Base::IClock> clock,
                   LineSink sink);
    ~CLiveTelemetry();
    CLiveTelemetry(const CLiveTelemetry&) = delete;
    CLiveTelemetry& operator=(const CLiveTelemetry&) = delete;

    /// From now on. What runs already gets no record of its start. Ends an earlier telemetry.
    /// Errors: std::runtime_error when the system gives no list.
    void Start(const TelemetryScope& scope);
    void Stop();

  private:
    struct KnownProcess {
        ProcessFacts facts;
        std::string sha256;
        bool recorded = false;  // its start
    };

    /// A file as it stood: one that is replaced has another digest under the same path.
    using CVersion = std::tuple<std::string, std::filesystem::file_time_type, std::uintmax_t>;

    void Watch();
    void Look();
    bool IsWanted(const ProcessFacts& facts) const;
    void Meet(const ProcessId& id, const ProcessFacts& facts);
    void Record(const ProcessId& id, const KnownProcess& process, const char* type,
                const char* action);
    std::string HashOf(const ProcessFacts& facts);

    IProcessTable& table_;  // borrowed
    CRecordLists& lists_;   // borrowed
    const boost::shared_ptr<Base::IClock> clock_;
    const LineSink sink_;

    // Of the looking thread while it runs.
    TelemetryScope scope_;
    std::map<ProcessId, KnownProcess> known_;
    std::map<CVersion, std::string> hashes_;

    boost::thread thread_;
};

}  // namespace Kyr::Lab::SimProduct
