// The way of a batch of ECS records out of a reply, the same for both kinds of them.
//
// Threads: the task-processing thread.
#pragma once

#include <google/protobuf/repeated_field.h>
#include <iterator>
#include <string>
#include <vector>

#include <boost/make_shared.hpp>

#include "connector/ILogger.h"
#include "connector/IMessagePublisher.h"
#include "connector/tasks/RecordOffset.h"

namespace Kyr::Connectors::OvAgentConnector {

/// Publishes `records` as one `StoreMessage`, announced by `announcement`, and then moves the
/// offset under `offsetKey` over them. In this order: who is interrupted in between passes the same
/// records on again, and skips none. The records are taken out of the response, which nobody reads
/// any more: batches are megabytes, and copies would be most of what a batch costs.
template <typename StoreMessage>
void PassOnEcsLogs(google::protobuf::RepeatedPtrField<std::string>& records,
                   const char* announcement, const char* offsetKey, Common::ILogger& logger,
                   Kyr::Common::Module::IMessagePublisher& publisher,
                   Kyr::Common::Database::IKeyValueAccessMapper& keyValueStore) {
    const auto batch = boost::make_shared<StoreMessage>();
    batch->SetLogs(std::vector<std::string>(std::make_move_iterator(records.begin()),
                                            std::make_move_iterator(records.end())));
    logger.GetLog(1) << announcement;
    publisher.Publish(batch);
    AdvanceOffset(keyValueStore, offsetKey, static_cast<std::uint64_t>(records.size()));
}

}  // namespace Kyr::Connectors::OvAgentConnector
