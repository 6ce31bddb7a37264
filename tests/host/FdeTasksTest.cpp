#include <gtest/gtest.h>
#include <stdexcept>

#include "host/message/FdeTasks.h"

namespace Kyr::Common::Message::Connectors::FDEConnector::Task {
namespace {

constexpr auto kType = static_cast<Kernel::MessageType>(900);

class FdeTasksTest : public testing::Test {
  protected:
    FdeTasksTest() {
        CTask::Uuid uuid;
        uuid.set_uuid("a");
        for (auto* task : {&task_, &other_}) {
            task->SetIdentifiers(uuid, uuid, uuid);
        }
        configuration_.set_boots(3);
    }

    CEnableFDEMaintenanceMode::Configuration configuration_;
    CEnableFDEMaintenanceMode task_{kType};
    CEnableFDEMaintenanceMode other_{kType};
};

TEST_F(FdeTasksTest, TypeIsTheOneGiven) {
    EXPECT_EQ(task_.GetMessageType(), kType);
    EXPECT_EQ(task_.GetName(), "EnableFDEMaintenanceMode");
}

TEST_F(FdeTasksTest, NewTaskHasNoSetting) {
    EXPECT_FALSE(task_.GetConfiguration().has_boots());
    EXPECT_FALSE(task_.GetConfiguration().has_seconds());
    EXPECT_FALSE(task_.GetConfiguration().has_end_time());
}

TEST_F(FdeTasksTest, ConfigurationIsKept) {
    task_.SetConfiguration(configuration_);
    EXPECT_EQ(task_.GetConfiguration().boots(), 3u);
}

TEST_F(FdeTasksTest, ReadOnlyTaskRefusesAConfiguration) {
    task_.SetReadOnly();
    EXPECT_THROW(task_.SetConfiguration(configuration_), std::runtime_error);
    EXPECT_FALSE(task_.GetConfiguration().has_boots());
}

TEST_F(FdeTasksTest, EqualTypeIdentifiersAndConfigurationAreEqual) {
    EXPECT_TRUE(task_.Equals(other_));
}

TEST_F(FdeTasksTest, AnotherConfigurationIsNotEqual) {
    other_.SetConfiguration(configuration_);
    EXPECT_FALSE(task_.Equals(other_));
}

TEST_F(FdeTasksTest, AnotherIdentifierIsNotEqual) {
    CTask::Uuid uuid;
    uuid.set_uuid("b");
    other_.SetIdentifiers(task_.GetFirstIdentifier(), task_.GetSecondIdentifier(), uuid);
    EXPECT_FALSE(task_.Equals(other_));
}

TEST_F(FdeTasksTest, AnotherTypeIsNotEqual) {
    EXPECT_FALSE(task_.Equals(CEnableFDEMaintenanceMode(static_cast<Kernel::MessageType>(901))));
}

}  // namespace
}  // namespace Kyr::Common::Message::Connectors::FDEConnector::Task
