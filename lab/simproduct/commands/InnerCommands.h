// The inner commands that the simulated product knows: a table of number, name and handler, put
// together from groups. A group is one pair of files with one function that returns its rows.
//
// Threads: any, once built.
// Ownership: what the rows' handlers refer to must outlive the table.
// Errors: CMalformed from a handler whose body cannot be read.
#pragma once

#include <functional>
#include <vector>

#include "lab/simproduct/requests/Answer.h"
#include "lab/simproduct/requests/InnerRequest.h"

namespace Kyr::Lab::SimProduct {

/// A request as far as it could be read.
struct InnerAction {
    InnerRequest inner;
    XmlCall xml;  // empty unless the inner command is the one of XML requests
};

struct InnerCommand {
    std::uint32_t number = 0;
    const char* name = "";  // for people
    std::function<InnerReply(const InnerAction&)> handler;
};

using InnerCommandGroup = std::vector<InnerCommand>;

class CInnerCommands {
  public:
    /// REQUIRES: no number twice.
    explicit CInnerCommands(const std::vector<InnerCommandGroup>& groups);

    /// Carries out the action and says what to reply: status 0 for what was accepted, or a status
    /// that says why not.
    InnerReply Perform(const InnerAction& action) const;

    /// The name of an inner command, or "unknown".
    const char* NameOf(std::uint32_t number) const;

  private:
    const InnerCommand* Find(std::uint32_t number) const;

    std::vector<InnerCommand> rows_;
};

}  // namespace Kyr::Lab::SimProduct
