#include <gmock/gmock.h>
#include <memory>
#include <stdexcept>

#include "lab/devhost/database/Database.h"
#include "tests/support/UuidText.h"
#include "tests/support/system/TemporaryFolder.h"

namespace Kyr::Test {
namespace {

using Lab::DevHost::CDatabase;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr auto kIndicators = Common::Kernel::MessageType::DataMinerStoreEcsIndicatorLogs;
constexpr auto kTelemetry = Common::Kernel::MessageType::DataMinerStoreEcsTelemetryLogs;

class DatabaseTest : public ::testing::Test {
  protected:
    DatabaseTest() { Reopen(); }

    void Reopen() {
        database_.reset();
        database_ = std::make_unique<CDatabase>(folder_.File("host.db"));
    }

    /// Makes the table refuse what the column holds as "ba".
    void Refuse(const std::string& table, const std::string& column) {
        const std::string trigger = "CREATE TRIGGER refuse_" + table + " BEFORE INSERT ON " +
                                    table + " WHEN NEW." + column +
                                    " = x'6261' BEGIN SELECT RAISE(ABORT, 'refused'); END";
        Lab::DevHost::CSqliteConnection(folder_.File("host.db")).Execute(trigger.c_str());
    }

    const CTemporaryFolder folder_;
    std::unique_ptr<CDatabase> database_;
};

TEST_F(DatabaseTest, LastValueOfAKeyIsRead) {
    EXPECT_EQ(database_->GetValue("XDR_OFFSET"), "");
    EXPECT_TRUE(database_->SetValue("XDR_OFFSET", "17"));
    EXPECT_EQ(database_->GetValue("XDR_OFFSET"), "17");
    EXPECT_TRUE(database_->SetValue("XDR_OFFSET", "18"));
    EXPECT_EQ(database_->GetValue("XDR_OFFSET"), "18");
    EXPECT_EQ(database_->GetValue("xdr_offset"), "");
}

TEST_F(DatabaseTest, ActionsAndRecordsAreKeptInTheOrderOfComing) {
    EXPECT_TRUE(database_->StoreActions({"two", "one"}));
    EXPECT_TRUE(database_->StoreActions({}));
    EXPECT_TRUE(database_->StoreActions({"three"}));
    EXPECT_THAT(database_->StoredActions(), ElementsAre("two", "one", "three"));
    database_->StoreRecords(kIndicators, {"two", "one"});
    database_->StoreRecords(kIndicators, {"two"});
    EXPECT_THAT(database_->Records(kIndicators), ElementsAre("two", "one", "two"));
    EXPECT_THAT(database_->Records(kTelemetry), IsEmpty());
}

TEST_F(DatabaseTest, EveryByteSurvivesReopening) {
    const std::string bytes("a'\0\xff\"", 5);
    database_->SetValue("key", bytes);
    database_->StoreActions({bytes, ""});
    database_->StoreRecords(kTelemetry, {bytes, ""});
    Reopen();
    EXPECT_EQ(database_->GetValue("key"), bytes);
    EXPECT_THAT(database_->StoredActions(), ElementsAre(bytes, ""));
    EXPECT_THAT(database_->Records(kTelemetry), ElementsAre(bytes, ""));
}

TEST_F(DatabaseTest, InstanceIdentifierIsAUuidThatStays) {
    const std::string first = database_->InstanceUuid();
    EXPECT_TRUE(AreUuidTexts(first, 1)) << first;
    Reopen();
    EXPECT_EQ(database_->InstanceUuid(), first);
}

TEST_F(DatabaseTest, ChosenInstanceIdentifierIsKept) {
    database_->InstanceUuid();
    EXPECT_EQ(CDatabase(folder_.File("host.db"), "no UUID at all").InstanceUuid(),
              "no UUID at all");
    Reopen();
    EXPECT_EQ(database_->InstanceUuid(), "no UUID at all");
}

TEST_F(DatabaseTest, BatchThatCannotBeStoredWholeIsNotStoredAtAll) {
    Refuse("remediation_actions", "action");
    Refuse("mined_records", "record");
    EXPECT_FALSE(database_->StoreActions({"good", "ba"}));
    EXPECT_THROW(database_->StoreRecords(kTelemetry, {"good", "ba"}), std::runtime_error);
    EXPECT_TRUE(database_->StoreActions({"later"}));
    database_->StoreRecords(kTelemetry, {"later"});
    EXPECT_THAT(database_->StoredActions(), ElementsAre("later"));
    EXPECT_THAT(database_->Records(kTelemetry), ElementsAre("later"));
    EXPECT_THAT(database_->FirstFailure(), ::testing::HasSubstr("refused"));
}

TEST_F(DatabaseTest, FileThatCannotBeOpenedIsAnError) {
    EXPECT_THROW(CDatabase(folder_.File("absent/host.db")), std::runtime_error);
}

}  // namespace
}  // namespace Kyr::Test
