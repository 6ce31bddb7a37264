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

class DatabaseTest : public ::testing::Test {
  protected:
    DatabaseTest() { Reopen(); }

    void Reopen() {
        database_.reset();
        database_ = std::make_unique<CDatabase>(folder_.File("host.db"));
    }

    Lab::DevHost::CKeyValueMapper& KeyValues() { return database_->KeyValues(); }
    Lab::DevHost::CRemediationMapper& RemediationActions() {
        return database_->RemediationActions();
    }

    const CTemporaryFolder folder_;
    std::unique_ptr<CDatabase> database_;
};

TEST_F(DatabaseTest, AbsentKeyReadsAsEmptyText) {
    EXPECT_EQ(KeyValues().GetValue("XDR_OFFSET"), "");
}

TEST_F(DatabaseTest, StoredValueIsReadBack) {
    EXPECT_TRUE(KeyValues().SetValue("XDR_OFFSET", "17"));
    EXPECT_EQ(KeyValues().GetValue("XDR_OFFSET"), "17");
}

TEST_F(DatabaseTest, SecondValueReplacesTheFirst) {
    KeyValues().SetValue("XDR_OFFSET", "17");
    KeyValues().SetValue("XDR_OFFSET", "18");
    EXPECT_EQ(KeyValues().GetValue("XDR_OFFSET"), "18");
}

TEST_F(DatabaseTest, KeysAreToldApartByCase) {
    KeyValues().SetValue("key", "small");
    EXPECT_EQ(KeyValues().GetValue("KEY"), "");
}

TEST_F(DatabaseTest, QuotesAndZeroBytesInAValueSurvive) {
    const std::string value("a'b\0c\"", 6);
    KeyValues().SetValue("key", value);
    EXPECT_EQ(KeyValues().GetValue("key"), value);
}

TEST_F(DatabaseTest, ValueSurvivesReopening) {
    KeyValues().SetValue("XDR_HOST", "collector");
    Reopen();
    EXPECT_EQ(KeyValues().GetValue("XDR_HOST"), "collector");
}

TEST_F(DatabaseTest, ActionsAreKeptInTheOrderOfStoring) {
    EXPECT_TRUE(RemediationActions().StoreActions({"two", "one"}));
    EXPECT_TRUE(RemediationActions().StoreActions({"three"}));
    EXPECT_THAT(RemediationActions().StoredActions(), ElementsAre("two", "one", "three"));
}

TEST_F(DatabaseTest, EmptyActionIsKept) {
    EXPECT_TRUE(RemediationActions().StoreActions({""}));
    EXPECT_THAT(RemediationActions().StoredActions(), ElementsAre(""));
}

TEST_F(DatabaseTest, EmptyBatchIsStored) {
    EXPECT_TRUE(RemediationActions().StoreActions({}));
    EXPECT_THAT(RemediationActions().StoredActions(), IsEmpty());
}

TEST_F(DatabaseTest, ActionsSurviveReopening) {
    RemediationActions().StoreActions({std::string("\x0a\x00\xff", 3)});
    Reopen();
    EXPECT_THAT(RemediationActions().StoredActions(), ElementsAre(std::string("\x0a\x00\xff", 3)));
}

TEST_F(DatabaseTest, InstanceIdentifierIsAUuidInTextForm) {
    EXPECT_TRUE(AreUuidTexts(database_->InstanceUuid(), 1)) << database_->InstanceUuid();
}

TEST_F(DatabaseTest, InstanceIdentifierStaysTheSameOverReopening) {
    const std::string first = database_->InstanceUuid();
    Reopen();
    EXPECT_EQ(database_->InstanceUuid(), first);
}

TEST_F(DatabaseTest, ChosenInstanceIdentifierIsKept) {
    database_->InstanceUuid();
    database_->SetInstanceUuid("no UUID at all");
    Reopen();
    EXPECT_EQ(database_->InstanceUuid(), "no UUID at all");
}

TEST_F(DatabaseTest, BatchThatCannotBeStoredWholeIsNotStoredAtAll) {
    Lab::DevHost::CSqliteConnection other(folder_.File("host.db"));
    other.Execute(
        "CREATE TRIGGER refuse BEFORE INSERT ON remediation_actions WHEN NEW.action = x'6261' "
        "BEGIN SELECT RAISE(ABORT, 'refused'); END");
    EXPECT_FALSE(RemediationActions().StoreActions({"good", "ba"}));
    EXPECT_TRUE(RemediationActions().StoreActions({"later"}));
    EXPECT_THAT(RemediationActions().StoredActions(), ElementsAre("later"));
}

TEST_F(DatabaseTest, FileThatCannotBeOpenedIsAnError) {
    EXPECT_THROW(CDatabase(folder_.File("absent/host.db")), std::runtime_error);
}

}  // namespace
}  // namespace Kyr::Test
