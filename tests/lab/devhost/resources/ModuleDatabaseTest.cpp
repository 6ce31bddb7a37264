#include <gmock/gmock.h>
#include <stdexcept>

#include "lab/devhost/resources/ModuleDatabase.h"
#include "tests/lab/common/LineList.h"
#include "tests/support/system/TemporaryFolder.h"

namespace Kyr::Test {
namespace {

using Common::Database::IKeyValueAccessMapper;
using Common::Database::IOvRemediationActionsMapper;
using namespace Lab::DevHost;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// A database for a host that wishes to die, and whether it has.
class ModuleDatabaseTest : public ::testing::Test {
  protected:
    void Wish(const std::string& wish) {
        steps_ = std::make_unique<CCollectionSteps>(ParseDeathWish(wish), [this] {
            dead_ = true;
            offsetAtDeath_ = database_.GetValue("XDR_OFFSET");
        });
        module_ = std::make_unique<CModuleDatabase>(database_, *steps_, failures_, events_.Sink());
    }
    IKeyValueAccessMapper& KeyValues() {
        return dynamic_cast<IKeyValueAccessMapper&>(*module_->GetMapper(348));
    }
    IOvRemediationActionsMapper& RemediationActions() {
        return dynamic_cast<IOvRemediationActionsMapper&>(*module_->GetMapper(388));
    }

    const CTemporaryFolder folder_;
    CDatabase database_{folder_.File("host.db")};
    bool dead_ = false;
    std::string offsetAtDeath_ = "none";
    Lab::CLineList events_;
    CFailures failures_{[](const Lab::CLine&) {}};
    std::unique_ptr<CCollectionSteps> steps_;
    std::unique_ptr<CModuleDatabase> module_;
};

TEST_F(ModuleDatabaseTest, OffsetIsStoredBetweenItsSteps) {
    Wish("before-offset");
    KeyValues().SetValue("XDR_OFFSET", "7");
    EXPECT_EQ("", offsetAtDeath_);
    Wish("after-offset");
    KeyValues().SetValue("XDR_OFFSET", "8");
    EXPECT_EQ("8", offsetAtDeath_);
}

TEST_F(ModuleDatabaseTest, RefusedOffsetIsNoStep) {
    CSqliteConnection(folder_.File("host.db"))
        .Execute(
            "CREATE TRIGGER refuse BEFORE INSERT ON key_values WHEN NEW.value = '7' "
            "BEGIN SELECT RAISE(ABORT, 'refused'); END");
    Wish("after-offset");
    EXPECT_FALSE(KeyValues().SetValue("XDR_OFFSET", "7"));
    EXPECT_FALSE(dead_);
}

TEST_F(ModuleDatabaseTest, ReadingAnOffsetBeginsACollection) {
    for (const char* key : {"XDR_OFFSET", "XDR_TELEMETRY_OFFSET", "OV_REMEDIATION_OFFSET"}) {
        dead_ = false;
        Wish("before-request");
        KeyValues().GetValue(key);
        EXPECT_TRUE(dead_) << key;
    }
}

TEST_F(ModuleDatabaseTest, OtherKeysAreNoSteps) {
    Wish("before-request");
    KeyValues().SetValue("XDR_ENABLED", "1");
    EXPECT_EQ("1", KeyValues().GetValue("XDR_ENABLED"));
    EXPECT_FALSE(dead_);
}

TEST_F(ModuleDatabaseTest, ActionsAreStoredBetweenTheirSteps) {
    Wish("after-publish");
    EXPECT_TRUE(RemediationActions().StoreActions({"one"}));
    EXPECT_TRUE(dead_);
    EXPECT_THAT(database_.StoredActions(), ElementsAre("one"));
}

TEST_F(ModuleDatabaseTest, EachUseIsToldWithItsResult) {
    Wish("after-offset:2");
    EXPECT_FALSE(module_->GetMapper(349));
    KeyValues().SetValue("XDR_OFFSET", "7");
    KeyValues().GetValue("XDR_OFFSET");
    RemediationActions().StoreActions({"one", "two"});
    CSqliteConnection(folder_.File("host.db")).Execute("DROP TABLE remediation_actions");
    EXPECT_FALSE(RemediationActions().StoreActions({"three"}));
    EXPECT_THAT(events_.Texts(),
                ElementsAre("mapper number=349 given=no", "mapper number=348 given=yes",
                            "write key=XDR_OFFSET value=7 result=stored",
                            "mapper number=348 given=yes", "read key=XDR_OFFSET value=7",
                            "mapper number=388 given=yes", "write actions=2 result=stored",
                            "mapper number=388 given=yes", "write actions=1 result=refused"));
}

TEST_F(ModuleDatabaseTest, ReadThatIsToFailThrowsAndIsNoStep) {
    Wish("before-request");
    failures_.Add(Failure::kRead, {1, {}});
    EXPECT_THROW(KeyValues().GetValue("XDR_OFFSET"), std::runtime_error);
    EXPECT_FALSE(dead_);
    EXPECT_EQ("", KeyValues().GetValue("XDR_OFFSET"));
}

TEST_F(ModuleDatabaseTest, WritesThatAreToFailAreRefusedAndStoreNothing) {
    Wish("before-offset");
    failures_.Add(Failure::kWrite, {});
    EXPECT_FALSE(KeyValues().SetValue("XDR_OFFSET", "7"));
    EXPECT_FALSE(RemediationActions().StoreActions({"one"}));
    EXPECT_EQ("", database_.GetValue("XDR_OFFSET"));
    EXPECT_THAT(database_.StoredActions(), IsEmpty());
    EXPECT_FALSE(dead_);
}

}  // namespace
}  // namespace Kyr::Test
