#include <gmock/gmock.h>

#include "lab/devhost/resources/SteppedDatabase.h"
#include "tests/support/system/TemporaryFolder.h"

namespace Kyr::Test {
namespace {

using Common::Database::IKeyValueAccessMapper;
using Common::Database::IOvRemediationActionsMapper;
using namespace Lab::DevHost;

/// A database for a host that wishes to die, and whether it has.
class SteppedDatabaseTest : public ::testing::Test {
  protected:
    void Wish(const std::string& wish) {
        steps_ = std::make_unique<CCollectionSteps>(ParseDeathWish(wish), [this] {
            dead_ = true;
            offsetAtDeath_ = database_.KeyValues().GetValue("XDR_OFFSET");
        });
        stepped_ = std::make_unique<CSteppedDatabase>(database_, *steps_);
    }
    IKeyValueAccessMapper& KeyValues() {
        return dynamic_cast<IKeyValueAccessMapper&>(*stepped_->GetMapper(348));
    }
    IOvRemediationActionsMapper& RemediationActions() {
        return dynamic_cast<IOvRemediationActionsMapper&>(*stepped_->GetMapper(388));
    }

    const CTemporaryFolder folder_;
    CDatabase database_{folder_.File("host.db")};
    bool dead_ = false;
    std::string offsetAtDeath_;
    std::unique_ptr<CCollectionSteps> steps_;
    std::unique_ptr<CSteppedDatabase> stepped_;
};

TEST_F(SteppedDatabaseTest, OffsetIsNotStoredBeforeItsStep) {
    Wish("before-offset");
    KeyValues().SetValue("XDR_OFFSET", "7");
    EXPECT_TRUE(dead_);
    EXPECT_EQ("", offsetAtDeath_);
}

TEST_F(SteppedDatabaseTest, OffsetIsStoredAfterItsStep) {
    Wish("after-offset");
    KeyValues().SetValue("XDR_OFFSET", "7");
    EXPECT_TRUE(dead_);
    EXPECT_EQ("7", offsetAtDeath_);
}

TEST_F(SteppedDatabaseTest, RefusedOffsetIsNoStep) {
    CSqliteConnection(folder_.File("host.db"))
        .Execute(
            "CREATE TRIGGER refuse BEFORE INSERT ON key_values WHEN NEW.value = '7' "
            "BEGIN SELECT RAISE(ABORT, 'refused'); END");
    Wish("after-offset");
    EXPECT_FALSE(KeyValues().SetValue("XDR_OFFSET", "7"));
    EXPECT_FALSE(dead_);
}

TEST_F(SteppedDatabaseTest, ReadingAnOffsetBeginsACollection) {
    for (const char* key : {"XDR_OFFSET", "XDR_TELEMETRY_OFFSET", "OV_REMEDIATION_OFFSET"}) {
        dead_ = false;
        Wish("before-request");
        KeyValues().GetValue(key);
        EXPECT_TRUE(dead_) << key;
    }
}

TEST_F(SteppedDatabaseTest, OtherKeysAreNoSteps) {
    Wish("before-request");
    KeyValues().SetValue("XDR_ENABLED", "1");
    EXPECT_EQ("1", KeyValues().GetValue("XDR_ENABLED"));
    EXPECT_FALSE(dead_);
}

TEST_F(SteppedDatabaseTest, ActionsAreStoredBetweenTheirSteps) {
    Wish("after-publish");
    EXPECT_TRUE(RemediationActions().StoreActions({"one"}));
    EXPECT_TRUE(dead_);
    EXPECT_THAT(database_.RemediationActions().StoredActions(), ::testing::ElementsAre("one"));
}

TEST_F(SteppedDatabaseTest, UnknownMapperNumberGivesNothing) {
    Wish("after-offset");
    EXPECT_FALSE(stepped_->GetMapper(349));
}

}  // namespace
}  // namespace Kyr::Test
