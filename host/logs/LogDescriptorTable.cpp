#include "host/logs/LogDescriptorTable.h"

namespace Kyr::Common::Logs {

namespace {

using DataDefinition::Logs::AGENT_PRESENCE;
using DataDefinition::Logs::PRODUCT_CONFIGURATION;
using DataDefinition::Logs::PRODUCT_PRESENCE;
using DataDefinition::Logs::PROTECTION_STATUS;
using DataDefinition::Logs::TASK;
using DataDefinition::Logs::UNKNOWN;
using Kernel::MessageType;

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

// The numbers and tag numbers are the host's. Texts have no length limit.
std::vector<CLogDescriptor> LogTable() {
    const std::vector<std::int32_t> optional = {};
    const std::vector<std::int32_t> mandatory = {TAG_MANDATORY};
    const std::vector<std::int32_t> productKey = {TAG_PRODUCT_KEY};
    return {
        {PROTECTION_STATUS,
         false,
         {
             {235, kUuid, mandatory},        // agent instance
             {241, kInteger, mandatory},     // severity
             {242, kTime, mandatory},        // time of occurrence
             {244, kInteger, mandatory},     // product type
             {245, kResourceId, mandatory},  // product
             {246, kResourceId, mandatory},  // category
             {247, kResourceId, mandatory},  // status text
             {248, kResourceId, mandatory},  // status
             {4298, kResourceId, optional},  // description
         }},
        {AGENT_PRESENCE,
         false,
         {
             {2141, kUuid, mandatory},     // agent instance
             {2143, kInteger, mandatory},  // presence
             {2144, kTime, mandatory},     // time of occurrence
             {2146, kInteger, mandatory},
             {2147, kInteger, mandatory},
         }},
        {PRODUCT_PRESENCE,
         true,
         {
             {3552, kUuid, mandatory},         // agent instance
             {3554, kInteger, mandatory},      // presence
             {3555, kTime, mandatory},         // time of occurrence
             {3559, kInteger, mandatory},      // product type
             {3560, kString, mandatory},       // product name
             {4429, kResourceId, productKey},  // product
         }},
        {TASK,
         false,
         {
             {2834, kUuid, mandatory},        // agent instance
             {2836, kInteger, mandatory},     // status
             {2838, kTime, mandatory},        // time of occurrence
             {2842, kUuid, mandatory},        // first identifier of the task
             {2844, kUuid, mandatory},        // second identifier of the task
             {2846, kUuid, mandatory},        // third identifier of the task
             {2848, kResourceId, mandatory},  // outcome
             {2850, kInteger, mandatory},     // severity
             {2853, kResourceId, mandatory},  // product
             {2913, kString, optional},       // description
         }},
        {PRODUCT_CONFIGURATION,
         false,
         {
             {1886, kUuid, mandatory},        // agent instance
             {1888, kInteger, mandatory},     // status
             {1889, kTime, mandatory},        // time of occurrence
             {1891, kResourceId, mandatory},  // product
             {1892, kBlob, mandatory},        // the configuration
         }},
    };
}

}  // namespace Kyr::Common::Logs
