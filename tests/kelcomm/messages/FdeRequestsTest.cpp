#include <boost/make_shared.hpp>

#include "kelcomm/messages/FdeRequests.h"
#include "tests/kelcomm/messages/MessageTest.h"
#include "tests/kelcomm/messages/TaskMessage.h"
#include "tests/support/GroupingLocale.h"

namespace Kyr::Connectors::Common::Kelcomm::Messages {
namespace {

using Kyr::Common::Message::Connectors::FDEConnector::Task::CEnableFDEMaintenanceMode;
using namespace Test;

/// The text of a request that has `nodes` behind the USERDATA of the task a, b, c.
std::string DataRequest(const std::string& function, const std::string& nodes = "") {
    return R"(<?xml version="1.0" encoding="utf-8"?><TULK><MESSAGE VERSION="1"><REQUEST FUNCTION=")" +
           function + R"("><DATA><NODE NAME="USERDATA" TYPE="STRING" VALUE="a;b;c" />)" + nodes +
           "</DATA></REQUEST></MESSAGE></TULK>";
}

template <typename Request>
std::vector<unsigned char> TaskRequestBytes() {
    return Request(boost::make_shared<CPlainTask>("a", "b", "c")).Serialize();
}

class MaintenanceTest : public testing::Test {
  protected:
    MaintenanceTest() { Identify(*task_, "a", "b", "c"); }

    std::vector<unsigned char> Bytes() {
        task_->SetConfiguration(configuration_);
        return CEnableFDEMaintenanceModeRequest(task_).Serialize();
    }

    void ExpectNodes(const std::string& nodes) {
        EXPECT_EQ(Bytes(), XmlBytes(DataRequest("ENABLE_MAINTENANCE_MODE", nodes)));
    }

    void SetEndTime(int year, int month, int day, int hour, int minute, int second) {
        auto* time = configuration_.mutable_end_time();
        time->set_year(year);
        time->set_month(month);
        time->set_day(day);
        time->set_hour(hour);
        time->set_minute(minute);
        time->set_second(second);
    }

    const boost::shared_ptr<CEnableFDEMaintenanceMode> task_ =
        boost::make_shared<CEnableFDEMaintenanceMode>(
            static_cast<Kyr::Common::Kernel::MessageType>(900));
    CEnableFDEMaintenanceMode::Configuration configuration_;
};

TEST(FdeRequestsTest, TaskRequestsCarryTheirFunctionAndTheUserData) {
    EXPECT_EQ(TaskRequestBytes<CBlockFDEPasswordRequest>(),
              XmlBytes(DataRequest("BLOCK_FDE_ENCRYPTION_PASSWORD")));
    EXPECT_EQ(TaskRequestBytes<CInvalidateFDEPasswordRequest>(),
              XmlBytes(DataRequest("INVALIDATE_FDE_ENCRYPTION_PASSWORD")));
    EXPECT_EQ(TaskRequestBytes<CWipeFDEPasswordRequest>(),
              XmlBytes(DataRequest("WIPE_FDE_ENCRYPTION_PASSWORD")));
    EXPECT_EQ(TaskRequestBytes<CGenerateNewFDERecoveryPasswordRequest>(),
              XmlBytes(DataRequest("GENERATE_NEW_FDE_RECOVERY_PASSWORD")));
    EXPECT_EQ(TaskRequestBytes<CRestartFDERequest>(), XmlBytes(DataRequest("RESTART_FDE")));
    EXPECT_EQ(TaskRequestBytes<CDisableFDEMaintenanceModeRequest>(),
              XmlBytes(DataRequest("DISABLE_MAINTENANCE_MODE")));
}

TEST(FdeRequestsTest, RequestsWithoutATaskHaveNoData) {
    const std::string opening =
        R"(<?xml version="1.0" encoding="utf-8"?><TULK><MESSAGE VERSION="1"><REQUEST FUNCTION=")";
    EXPECT_EQ(CGetEncryptionStorageStatusRequest().Serialize(),
              XmlBytes(opening + R"(GET_ENCRYPTION_STORAGE_STATUS"></REQUEST></MESSAGE></TULK>)"));
    EXPECT_EQ(CGetEncryptionRecoveryDataRequest().Serialize(),
              XmlBytes(opening + R"(GET_ENCRYPTION_RECOVERY_DATA"></REQUEST></MESSAGE></TULK>)"));
}

TEST(FdeRequestsTest, ConfirmationListsPasswordsThenItems) {
    const CConfirmEncryptionRecoveryDataRequest request({{"p1", "p2"}, {"d1"}});
    EXPECT_EQ(request.Serialize(),
              XmlBytes(R"(<?xml version="1.0" encoding="utf-8"?><TULK><MESSAGE VERSION="1">)"
                       R"(<REQUEST FUNCTION="CONFIRM_ENCRYPTION_RECOVERY_DATA">)"
                       R"(<RECOVERY_PASSWORD UID="p1" /><RECOVERY_PASSWORD UID="p2" />)"
                       R"(<RECOVERY_DATA UID="d1" /></REQUEST></MESSAGE></TULK>)"));
}

TEST(FdeRequestsTest, EmptyConfirmationHasNoElements) {
    EXPECT_EQ(CConfirmEncryptionRecoveryDataRequest({}).Serialize(),
              XmlBytes(R"(<?xml version="1.0" encoding="utf-8"?><TULK><MESSAGE VERSION="1">)"
                       R"(<REQUEST FUNCTION="CONFIRM_ENCRYPTION_RECOVERY_DATA">)"
                       R"(</REQUEST></MESSAGE></TULK>)"));
}

TEST_F(MaintenanceTest, AllSettingsInTheirOrder) {
    configuration_.set_boots(3);
    configuration_.set_seconds(86400);
    SetEndTime(2026, 3, 31, 23, 59, 1);
    ExpectNodes(R"(<NODE NAME="BOOTS" TYPE="STRING" VALUE="3" />)"
                R"(<NODE NAME="SECONDS" TYPE="STRING" VALUE="86400" />)"
                R"(<NODE NAME="TIME" TYPE="STRING" VALUE="2026-03-31T23:59:01" />)");
}

TEST_F(MaintenanceTest, BootsAlone) {
    configuration_.set_boots(0);
    ExpectNodes(R"(<NODE NAME="BOOTS" TYPE="STRING" VALUE="0" />)");
}

TEST_F(MaintenanceTest, SecondsAlone) {
    configuration_.set_seconds(0xFFFFFFFFFFFFFFFF);
    ExpectNodes(R"(<NODE NAME="SECONDS" TYPE="STRING" VALUE="18446744073709551615" />)");
}

TEST_F(MaintenanceTest, EndTimeAlone) {
    SetEndTime(2024, 2, 29, 0, 0, 0);
    ExpectNodes(R"(<NODE NAME="TIME" TYPE="STRING" VALUE="2024-02-29T00:00:00" />)");
}

TEST_F(MaintenanceTest, NoSettingIsInvalid) {
    EXPECT_EQ(ThrownText([this] { Bytes(); }),
              "CEnableFDEMaintenanceModeRequest: Invalid configuration");
}

TEST_F(MaintenanceTest, EndTimeThatIsNoDateIsOutOfRange) {
    const int dates[][3] = {{2025, 2, 29}, {2025, 13, 1}, {2025, 0, 1},
                            {2025, 1, 0},  {0, 1, 1},     {2025, 65537, 1}};
    for (const auto& date : dates) {
        SetEndTime(date[0], date[1], date[2], 0, 0, 0);
        EXPECT_THROW(Bytes(), std::out_of_range) << date[0] << "-" << date[1] << "-" << date[2];
    }
}

TEST_F(MaintenanceTest, EndTimeIsSentInWholeSeconds) {
    SetEndTime(2026, 3, 31, 23, 59, 59);
    configuration_.mutable_end_time()->set_nanos(999999999);
    ExpectNodes(R"(<NODE NAME="TIME" TYPE="STRING" VALUE="2026-03-31T23:59:59" />)");
}

TEST_F(MaintenanceTest, ClockPastMidnightIsTheNextDay) {
    SetEndTime(2025, 12, 31, 24, 0, 60);
    ExpectNodes(R"(<NODE NAME="TIME" TYPE="STRING" VALUE="2026-01-01T00:01:00" />)");
}

TEST_F(MaintenanceTest, LastSecondOfTheCalendarIsSent) {
    SetEndTime(9999, 12, 31, 23, 59, 59);
    ExpectNodes(R"(<NODE NAME="TIME" TYPE="STRING" VALUE="9999-12-31T23:59:59" />)");
}

TEST_F(MaintenanceTest, ClockThatLeavesTheCalendarIsOutOfRange) {
    SetEndTime(9999, 12, 31, 23, 59, 60);
    EXPECT_THROW(Bytes(), std::out_of_range);
    SetEndTime(1400, 1, 1, 0, 0, -1);
    EXPECT_THROW(Bytes(), std::out_of_range);
}

TEST_F(MaintenanceTest, EndTimeOfAYearPast16BitsDoesNotComeRound) {
    // The hours reach into the year 67983, whose lower 16 bits are 2447.
    SetEndTime(2026, 3, 31, 578169600, 0, 0);
    EXPECT_THROW(Bytes(), std::out_of_range);
}

TEST_F(MaintenanceTest, NumbersAreNeverGrouped) {
    const CGroupingLocale locale;
    configuration_.set_seconds(1234567);
    SetEndTime(2026, 3, 31, 1, 2, 3);
    ExpectNodes(R"(<NODE NAME="SECONDS" TYPE="STRING" VALUE="1234567" />)"
                R"(<NODE NAME="TIME" TYPE="STRING" VALUE="2026-03-31T01:02:03" />)");
}

}  // namespace
}  // namespace Kyr::Connectors::Common::Kelcomm::Messages
