// What each inner command and each XML function makes the product do: two tables of handlers.
//
// A new inner command is one row in ActionHandler.cpp: {number, name, handler}.
//
// Threads: any.
// Errors: CMalformed for a body that cannot be read.
#pragma once

#include "lab/simagent/Answer.h"
#include "lab/simagent/InnerRequest.h"
#include "lab/simagent/Product.h"

namespace Kyr::Lab::SimAgent {

/// A request as far as it could be read.
struct CAction {
    CInnerRequest inner;
    CXmlRequest xml;  // empty unless the inner command is the one of XML requests
};

/// Carries out the action and says what to reply: status 0 for what was accepted, or the status
/// for an unknown command or function.
CReply Perform(const CAction& action, CProduct& product);

/// The name of an inner command for people, or "unknown".
const char* NameOfInnerCommand(std::uint32_t command);

}  // namespace Kyr::Lab::SimAgent
