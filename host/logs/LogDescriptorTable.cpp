#include "host/logs/LogDescriptorTable.h"

#include "host/logs/Symbols.h"

namespace Kyr::Common::Logs {

namespace {

using DataDefinition::Logs::AGENT_PRESENCE;
using DataDefinition::Logs::PRODUCT_CONFIGURATION;
using DataDefinition::Logs::PRODUCT_PRESENCE;
using DataDefinition::Logs::PROTECTION_STATUS;
using DataDefinition::Logs::TASK;
using DataDefinition::Logs::UNKNOWN;
using Kernel::MessageType;

namespace ProtectionStatus = Symbols::ProtectionStatus;
namespace AgentPresence = Symbols::AgentPresence;
namespace ProductPresence = Symbols::ProductPresence;
namespace Task = Symbols::Task;
namespace ProductConfiguration = Symbols::ProductConfiguration;

using Tags = std::vector<std::int32_t>;

CLogMessageDescriptor Event(MessageType type, LogType logType) {
    return {{type, kNoMessageType, kNoMessageType}, logType, UNKNOWN};
}

CLogMessageDescriptor Status(MessageType type, LogType logType) {
    return {{kNoMessageType, kNoMessageType, type}, UNKNOWN, logType};
}

}  // namespace

std::vector<CLogMessageDescriptor> LogMessageTable() {
    return {
        Status(MessageType::ProductStatus, PROTECTION_STATUS),
        Status(MessageType::PresenceStatus, AGENT_PRESENCE),
        Status(MessageType::MultiProductStatus, PRODUCT_PRESENCE),
        Event(MessageType::TaskEvent, TASK),
        Event(MessageType::ConfigurationEvent, PRODUCT_CONFIGURATION),
    };
}

// The tag numbers are the host's. Texts have no length limit.
std::vector<CLogDescriptor> LogTable() {
    const Tags optional = {};
    const Tags mandatory = {TAG_MANDATORY};
    const Tags productKey = {TAG_PRODUCT_KEY};
    return {
        {PROTECTION_STATUS,
         false,
         {
             {ProtectionStatus::kInstance, kUuid, mandatory, "agent"},
             {ProtectionStatus::kSeverity, kInteger, mandatory, "severity"},
             {ProtectionStatus::kTime, kTime, mandatory, "time"},
             {ProtectionStatus::kProductType, kInteger, mandatory, "product-type"},
             {ProtectionStatus::kProduct, kResourceId, mandatory, "product"},
             {ProtectionStatus::kCategory, kResourceId, mandatory, "category"},
             {ProtectionStatus::kStatusText, kResourceId, mandatory, "status-text"},
             {ProtectionStatus::kStatus, kResourceId, mandatory, "status"},
             {ProtectionStatus::kDescription, kResourceId, optional, "description"},
         }},
        {AGENT_PRESENCE,
         false,
         {
             {AgentPresence::kInstance, kUuid, mandatory, "agent"},
             {AgentPresence::kPresence, kInteger, mandatory, "presence"},
             {AgentPresence::kTime, kTime, mandatory, "time"},
             {AgentPresence::k2146, kInteger, mandatory},
             {AgentPresence::k2147, kInteger, mandatory},
         }},
        {PRODUCT_PRESENCE,
         true,
         {
             {ProductPresence::kInstance, kUuid, mandatory, "agent"},
             {ProductPresence::kPresence, kInteger, mandatory, "presence"},
             {ProductPresence::kTime, kTime, mandatory, "time"},
             {ProductPresence::kProductType, kInteger, mandatory, "product-type"},
             {ProductPresence::kProductName, kString, mandatory, "product-name"},
             {ProductPresence::kProduct, kResourceId, productKey, "product"},
         }},
        {TASK,
         false,
         {
             {Task::kInstance, kUuid, mandatory, "agent"},
             {Task::kStatus, kInteger, mandatory, "status"},
             {Task::kTime, kTime, mandatory, "time"},
             {Task::kFirstIdentifier, kUuid, mandatory, "task-first"},
             {Task::kSecondIdentifier, kUuid, mandatory, "task-second"},
             {Task::kThirdIdentifier, kUuid, mandatory, "task-third"},
             {Task::kOutcome, kResourceId, mandatory, "outcome"},
             {Task::kSeverity, kInteger, mandatory, "severity"},
             {Task::kProduct, kResourceId, mandatory, "product"},
             {Task::kDescription, kString, optional, "description"},
         }},
        {PRODUCT_CONFIGURATION,
         false,
         {
             {ProductConfiguration::kInstance, kUuid, mandatory, "agent"},
             {ProductConfiguration::kStatus, kInteger, mandatory, "status"},
             {ProductConfiguration::kTime, kTime, mandatory, "time"},
             {ProductConfiguration::kProduct, kResourceId, mandatory, "product"},
             {ProductConfiguration::kConfiguration, kBlob, mandatory, "configuration"},
         }},
    };
}

}  // namespace Kyr::Common::Logs
