// What the product tells of disk encryption, and what is told to it: plain values.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "host/proto/common.pb.h"

namespace Kyr::Connectors::Common {

struct EncryptionPartition {
    std::string deviceId;
    /// All zeros when the product gives none.
    Kyr::Common::DataDefinition::Common::Uuid guid;
    std::string description;
    std::int64_t encryptionStatus = 0;
    std::int64_t encryptionProgress = 0;
    std::string fileSystem;
    bool systemPartition = false;
    std::int64_t size = 0;
};

struct EncryptionDisk {
    std::string deviceId;
    bool opalSupported = false;
    bool opalUsed = false;
    std::string partitioningScheme;
    std::vector<EncryptionPartition> partitions;
};

struct EncryptionStorageStatus {
    bool tpmUsed = false;
    std::string workstationId;
    std::vector<EncryptionDisk> disks;
};

/// The texts of all fields are the product's own.
struct EncryptionRecoveryPassword {
    std::string uid;
    std::string deviceId;
    std::string index;
};

struct EncryptionRecoveryItem {
    std::string uid;
    std::string deviceId;
    std::string data;
};

struct EncryptionRecoveryData {
    std::vector<EncryptionRecoveryPassword> passwords;
    std::vector<EncryptionRecoveryItem> items;
};

/// Which recovery data has been stored safely: the UIDs of both lists.
struct EncryptionRecoveryConfirmation {
    std::vector<std::string> passwordUids;
    std::vector<std::string> itemUids;
};

}  // namespace Kyr::Connectors::Common
