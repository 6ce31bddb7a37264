#include "kelcomm/messages/EncryptionStorageStatusResponse.h"

#include <algorithm>
#include <locale>

#include <boost/algorithm/string/predicate.hpp>
#include <boost/lexical_cast.hpp>

#include "kelcomm/messages/ReplyReader.h"
#include "kelcomm/messages/XmlPayload.h"

namespace Kyr::Connectors::Common::Kelcomm::Messages {

namespace {

using boost::property_tree::ptree;

constexpr char kNoGuid[] = "00000000-0000-0000-0000-000000000000";

bool ReadBool(const ptree& element, const char* name) {
    const std::string text = ReadAttribute(element, name);
    const std::locale locale;
    return boost::algorithm::iequals(text, "True", locale) ||
           boost::algorithm::iequals(text, "Yes", locale) || text == "1";
}

std::int64_t ReadInt64(const ptree& element, const char* name) {
    const std::string text = ReadAttribute(element, name);
    // lexical_cast alone would take digit groups in a process whose locale has them.
    const auto isDigitOrSign = [](char c) {
        return (c >= '0' && c <= '9') || c == '+' || c == '-';
    };
    if (!std::all_of(text.begin(), text.end(), isDigitOrSign)) {
        throw boost::bad_lexical_cast(typeid(std::string), typeid(std::int64_t));
    }
    return boost::lexical_cast<std::int64_t>(text);
}

EncryptionPartition ReadPartition(const ptree& element) {
    EncryptionPartition partition;
    partition.deviceId = ReadAttribute(element, "DEVICE_ID");
    const std::string guid = ReadAttribute(element, "GUID");
    partition.guid.set_uuid(guid.empty() ? kNoGuid : guid);
    partition.description = ReadAttribute(element, "DESCRIPTION");
    partition.encryptionStatus = ReadInt64(element, "ENCRYPTION_STATUS");
    // Deliberate: the product spells it so.
    partition.encryptionProgress = ReadInt64(element, "ENCRYPTION_PROGESS");
    partition.fileSystem = ReadAttribute(element, "FILESYSTEM");
    partition.systemPartition = ReadBool(element, "SYSTEM");
    partition.size = ReadInt64(element, "SIZE");
    return partition;
}

EncryptionDisk ReadDisk(const ptree& element) {
    EncryptionDisk disk;
    disk.deviceId = ReadAttribute(element, "DEVICE_ID");
    disk.opalSupported = ReadBool(element, "OPAL_SUPPORT");
    disk.opalUsed = ReadBool(element, "OPAL_USED");
    disk.partitioningScheme = ReadAttribute(element, "PARTITIONING_SCHEME");
    for (const auto& [name, child] : element) {
        if (name == "PARTITION") {
            disk.partitions.push_back(ReadPartition(child));
        }
    }
    return disk;
}

}  // namespace

void CGetEncryptionStorageStatusResponse::Deserialize(const std::vector<unsigned char>& reply) {
    CReplyReader reader(reply);
    if (reader.GetPayloadLength() != 0) {
        rawContent_ = reader.ReadPayload();
    }
    const auto tree = ParseXml(rawContent_);
    for (const auto& [name, element] : tree.get_child("TULK.MESSAGE.RESPONSE")) {
        if (name == "SYSTEM") {
            status_.tpmUsed = ReadBool(element, "TPM_USED");
            status_.workstationId = ReadAttribute(element, "WORKSTATION_ID");
        } else if (name == "DISK") {
            status_.disks.push_back(ReadDisk(element));
        }
    }
}

}  // namespace Kyr::Connectors::Common::Kelcomm::Messages
