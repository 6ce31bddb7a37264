// The inner commands that the simulated product knows, as a table of number, name and handler.
//
// Writes a `did` event for what was done, and a `handed` event for every batch of records before
// its reply goes out: `from`, the number of the first record, and `records`.
//
// Threads: any.
// Errors: CMalformed for a body that cannot be read.
#pragma once

#include <functional>
#include <vector>

#include "lab/common/LineWriter.h"
#include "lab/simproduct/processes/TaskBook.h"
#include "lab/simproduct/records/RecordLists.h"
#include "lab/simproduct/requests/InnerRequest.h"
#include "lab/simproduct/requests/PortExchange.h"
#include "lab/simproduct/state/Protection.h"

namespace Kyr::Lab::SimProduct {

class CInnerCommands {
  public:
    /// What the commands work on; all of it must outlive them.
    struct Subjects {
        CTaskBook& tasks;
        CTaskResults& results;
        CConfiguration& configuration;
        const CProtection& protection;
        CRecordLists& records;
    };

    CInnerCommands(Subjects subjects, const LineSink& sink);

    /// Carries out the request and says what to reply: status 0 for what was accepted, or a status
    /// that says why not.
    InnerReply Perform(const InnerRequest& request) const;

    /// The name of an inner command, or "unknown".
    const char* NameOf(std::uint32_t number) const;

  private:
    struct Row {
        std::uint32_t number;
        const char* name;  // for people
        std::function<InnerReply(const InnerRequest&)> handler;
    };

    const Row* Find(std::uint32_t number) const;

    const std::vector<Row> rows_;
};

}  // namespace Kyr::Lab::SimProduct
