#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "lab/crashtest/StoreReader.h"
#include "tests/support/system/TemporaryFolder.h"

namespace Kyr::Lab::CrashTest {
namespace {

TEST(StoreReaderTest, HostKilledBeforeItMadeItsTablesHasStoredNothing) {
    const Kyr::Test::CTemporaryFolder folder;
    CStoreReader reader(folder.File("host.db"));
    for (const RecordSource& kind : kKinds) {
        EXPECT_THAT(reader.NewRecords(kind), testing::IsEmpty()) << kind.name;
        EXPECT_EQ(reader.Offset(kind), 0U) << kind.name;
    }
}

}  // namespace
}  // namespace Kyr::Lab::CrashTest
