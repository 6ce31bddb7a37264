// Records that a channel hands out: what is not filled in tells nothing, neither a number nor a
// yes.
#include <gtest/gtest.h>

#include "connector/channel/EncryptionRecords.h"
#include "connector/channel/ProtectionStatusRecord.h"
#include "connector/channel/TaskStatusRecord.h"

namespace Kyr::Connectors::Common {
namespace {

TEST(RecordsTest, NewPartitionIsNoSystemPartitionAndHasNothingEncrypted) {
    const EncryptionPartition partition;
    EXPECT_EQ(partition.encryptionStatus, 0);
    EXPECT_EQ(partition.encryptionProgress, 0);
    EXPECT_FALSE(partition.systemPartition);
    EXPECT_EQ(partition.size, 0);
}

TEST(RecordsTest, NewDiskHasNoOpal) {
    const EncryptionDisk disk;
    EXPECT_FALSE(disk.opalSupported);
    EXPECT_FALSE(disk.opalUsed);
}

TEST(RecordsTest, NewStorageStatusUsesNoTpm) {
    EXPECT_FALSE(EncryptionStorageStatus().tpmUsed);
}

TEST(RecordsTest, NewProtectionStatusIsZero) {
    EXPECT_EQ(CProtectionStatusRecord().status, 0u);
}

TEST(RecordsTest, NewTaskStatusIsZero) {
    const CTaskStatusRecord record;
    EXPECT_EQ(record.code, 0u);
    EXPECT_EQ(record.severity, 0);
    EXPECT_EQ(record.status, 0);
}

}  // namespace
}  // namespace Kyr::Connectors::Common
