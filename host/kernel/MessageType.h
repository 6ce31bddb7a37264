// The host's message types that this system consumes or produces. The host routes by the numbers.
//
// The host delivers the server's tasks, policies and requests (5, 194, 918, 919) and replies
// (1, 688). The connector publishes its logs (above 10000) and what is for the data miner
// (69, 76, 77). Its trigger (7) goes to itself; those of others (8, 9) are known because the tasks
// that they start are shared.
#pragma once

#include <cstdint>

namespace Kyr::Common::Kernel {

enum class MessageType : std::int32_t {
    Reply = 1,                      // second reply type of the host's request/response scheme
    RequestConfiguration = 5,       // export the product's configuration
    OvAgentRequest = 7,             // the connector's own trigger
    TFDERequest = 8,                // trigger of another connector: disk encryption
    TchRequest = 9,                 // trigger of another connector
    DataMinerOutOfOrderEvent = 69,  // remediation actions were stored
    DataMinerStoreEcsIndicatorLogs = 76,
    DataMinerStoreEcsTelemetryLogs = 77,
    ApplyPolicy = 194,            // apply a policy
    Response = 688,               // reply to a request of the host's request/response scheme
    KillProcessByPid = 918,       // task: kill a process
    BlockExecutableByHash = 919,  // task: block an executable
    ProductStatus = 10044,        // status log
    ConfigurationEvent = 10244,   // event log: the configuration of a product
    PresenceStatus = 10292,       // status log: the product is present
    TaskEvent = 10368,            // event log: outcome of a task
    MultiProductStatus = 10405,   // multi-product status log
};

}  // namespace Kyr::Common::Kernel
