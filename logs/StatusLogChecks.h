// The checks that ordinary and multi-product status logs share: of the message type when a log is
// made, and of its rows against the symbol descriptors.
//
// `className` opens the texts of all exceptions, which are std::runtime_error.
#pragma once

#include <string>

#include <boost/shared_ptr.hpp>

#include "host/kernel/MessageType.h"
#include "host/logs/IMultiSymbolContainer.h"
#include "host/logs/LogDescriptor.h"

namespace Kyr::Common::Message::Logs {

/// Throws "<className>: Message type <n> <why>".
[[noreturn]] void RefuseMessageType(const char* className, Kernel::MessageType type,
                                    const char* why);

/// Throws "<className>: Message type <n> is not status log".
boost::shared_ptr<const Common::Logs::CLogDescriptor> StatusLogDescriptor(const char* className,
                                                                          Kernel::MessageType type);

const std::string& StatusLogTypeName(Kernel::MessageType type);

/// Throws for the first fault. `productIdentification` is null for ordinary status logs; otherwise
/// the product keys of all rows must equal its own.
/// REQUIRES: `type` is a status log.
void CheckStatusRows(const char* className, Kernel::MessageType type,
                     const Common::Logs::IMultiSymbolContainer& rows,
                     const Common::Logs::ISymbolContainer* productIdentification);

}  // namespace Kyr::Common::Message::Logs
