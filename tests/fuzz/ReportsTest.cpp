// Which promises the account of a conversation's reports holds the module to. A broken one ends the
// process.
#include <gtest/gtest.h>

#include <boost/make_shared.hpp>

#include "connector/reports/ProtectionStatus.h"
#include "fuzz/Reports.h"
#include "tests/support/time/ManualClock.h"

namespace Kyr::Fuzz {
namespace {

constexpr char kInstance[] = "6ba7b810-9dad-11d1-80b4-000000000001";
constexpr std::uint64_t kStatus = 0x0710000000001000;
constexpr std::uint64_t kOther = 0x0710000000001001;
constexpr std::int64_t kNow = 1000000000;

class ReportsTest : public ::testing::Test {
  protected:
    ReportsTest() { clock_->SetStartTime(kNow); }

    void Tell(std::uint64_t status, std::int64_t calendar = kNow) {
        Connectors::Common::CProtectionStatusRecord record;
        record.status = 1;
        record.statusId = status;
        reports_.Published(
            *Connectors::Common::MakeProtectionStatus({record}, {kInstance, clock_, 1, 1}),
            calendar);
    }

    const boost::shared_ptr<Kyr::Test::CManualClock> clock_ =
        boost::make_shared<Kyr::Test::CManualClock>();
    CReports reports_;
};

using ReportsDeathTest = ReportsTest;

TEST_F(ReportsTest, StatusThatIsToldBeforeTheNextRequestIsRight) {
    reports_.StatusHandedOut(kStatus);
    Tell(kStatus);
    reports_.ExpectStatusTold();
    reports_.ExpectStatus(kStatus);
}

TEST_F(ReportsTest, OwnFindingsAreToldAtAnyTime) {
    reports_.StatusHandedOut(kStatus);
    reports_.Published(*Connectors::Common::MakeConnectedStatus({kInstance, clock_, 1, 1}), kNow);
    reports_.Published(*Connectors::Common::MakeConnectFailureStatus({kInstance, clock_, 1, 1}),
                       kNow);
    Tell(kStatus);
    reports_.ExpectStatusTold();
}

TEST_F(ReportsDeathTest, StatusThatIsNotToldOrAnotherOneIsFound) {
    EXPECT_DEATH(Tell(kStatus), "a status was told that nobody has just handed out");
    reports_.StatusHandedOut(kStatus);
    EXPECT_DEATH(reports_.ExpectStatusTold(), "a status was not told");
    EXPECT_DEATH(Tell(kOther), "a status was told that nobody has just handed out");
    Tell(kStatus);
    EXPECT_DEATH(Tell(kStatus), "a status was told that nobody has just handed out");
    EXPECT_DEATH(reports_.ExpectStatus(kOther), "a change of the status was not told in time");
}

TEST_F(ReportsDeathTest, TimeThatTheCalendarDoesNotShowIsFound) {
    reports_.StatusHandedOut(kStatus);
    EXPECT_DEATH(Tell(kStatus, kNow + 1), "another time than the calendar's");
}

TEST_F(ReportsDeathTest, ChangeThatIsActedUponTooEarlyIsFound) {
    EXPECT_DEATH(reports_.Logged("Publishing request 0", kNow), "before its time");
    reports_.Logged("Received broadcast 2", kNow);
    EXPECT_DEATH(reports_.Logged("Publishing request 0", kNow + 4), "before its time");
    EXPECT_DEATH(reports_.Logged("Publishing request 2", kNow + 5), "before its time");
    reports_.Logged("Publishing request 0", kNow + 5);
    reports_.Triggered(0, false);
    reports_.Triggered(0);  // for another reason
    reports_.Logged("Publishing request 0", kNow + 10);
    reports_.Triggered(0);
    EXPECT_DEATH(reports_.Logged("Publishing request 0", kNow + 15), "before its time");
}

}  // namespace
}  // namespace Kyr::Fuzz
