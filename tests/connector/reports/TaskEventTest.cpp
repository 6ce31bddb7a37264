#include <array>

#include "connector/reports/TaskEvent.h"
#include "host/message/OvAgentTasks.h"
#include "tests/connector/reports/ReportFixture.h"
#include "tests/support/host/TestMessage.h"

namespace Kyr::Connectors::Common {
namespace {

using Kyr::Common::Kernel::MessageType;
using Kyr::Common::Message::CTask;
using Kyr::Common::Message::Connectors::OvAgentConnector::Task::CKillProcessByPid;
using Kyr::Common::Message::Logs::CEventLog;
using Kyr::Test::ThrownText;
using testing::ElementsAre;

class TaskEventTest : public ReportFixture {
  protected:
    using Texts = std::array<std::string, 3>;

    /// A task with these identifiers; an empty one is not set.
    static boost::shared_ptr<CTask> Task(const Texts& texts = {
                                             "11111111-1111-1111-1111-111111111111",
                                             "22222222-2222-2222-2222-222222222222",
                                             "33333333-3333-3333-3333-333333333333"}) {
        std::array<CTask::Uuid, 3> ids;
        for (std::size_t id = 0; id < ids.size(); ++id) {
            if (!texts[id].empty()) {
                ids[id].set_uuid(texts[id]);
            }
        }
        const auto task = boost::make_shared<CKillProcessByPid>();
        task->SetIdentifiers(ids[0], ids[1], ids[2]);
        return task;
    }
    boost::shared_ptr<CEventLog> Make(const TaskOutcome& outcome) const {
        return MakeTaskEvent(*Task(), outcome, reporter);
    }

    const TaskOutcome failed{4, 0x000000010000009B, 40, "It did not work"};
};

TEST_F(TaskEventTest, IsAReadOnlyEventLogOfItsType) {
    const auto event = Make(failed);
    EXPECT_EQ(static_cast<int>(event->GetMessageType()), 10368);
    EXPECT_TRUE(event->IsReadOnly());
    EXPECT_EQ(ThrownText([&] { event->GetSymbols()->AddInt32(1, 1); }),
              "Cannot add symbol 1: container is locked");
}

TEST_F(TaskEventTest, SymbolsStandInTheOrderOfSetting) {
    const auto symbols = Make(failed)->GetSymbols();
    EXPECT_THAT(Ids(*symbols),
                ElementsAre(2836, 2834, 2838, 2842, 2846, 2844, 2848, 2853, 2850, 2913));
}

TEST_F(TaskEventTest, SymbolsHoldTheirValues) {
    const auto symbols = Make(failed)->GetSymbols();
    EXPECT_EQ(symbols->GetInt32(2836), 4);
    EXPECT_EQ(symbols->GetUuid(2834).uuid(), "12345678-9abc-def0-1234-56789abcdef0");
    EXPECT_EQ(symbols->GetUuid(2842).uuid(), "11111111-1111-1111-1111-111111111111");
    EXPECT_EQ(symbols->GetUuid(2844).uuid(), "22222222-2222-2222-2222-222222222222");
    EXPECT_EQ(symbols->GetUuid(2846).uuid(), "33333333-3333-3333-3333-333333333333");
    EXPECT_EQ(symbols->GetResourceId(2848), 0x000000010000009Bu);
    EXPECT_EQ(symbols->GetInt64(2850), 40);
    EXPECT_EQ(symbols->GetResourceId(2853), 0x07100000000005E2u);
    EXPECT_EQ(symbols->GetString(2913), "It did not work");
}

TEST_F(TaskEventTest, TimeIsNowInUtc) {
    EXPECT_EQ(Time(*Make(failed)->GetSymbols(), 2838), "2023-11-14 22:13:20");
}

TEST_F(TaskEventTest, EmptyTextIsLeftOut) {
    const auto symbols = Make({1, 0x000000010000000B, 30, ""})->GetSymbols();
    EXPECT_FALSE(symbols->HasSymbol(2913));
    EXPECT_EQ(symbols->GetCount(), 9u);
}

TEST_F(TaskEventTest, FitsItsLogType) {
    EXPECT_TRUE(Make(failed)->IsValid());
}

TEST_F(TaskEventTest, IdentifierThatIsNoUuidThrows) {
    const auto task = Task({"no uuid", "22222222-2222-2222-2222-222222222222",
                            "33333333-3333-3333-3333-333333333333"});
    EXPECT_EQ(ThrownText([&] { MakeTaskEvent(*task, failed, reporter); }), "invalid uuid string");
}

TEST_F(TaskEventTest, InstanceThatIsNoUuidThrows) {
    reporter.instanceUuid = "";
    EXPECT_EQ(ThrownText([this] { Make(failed); }), "invalid uuid string");
}

TEST_F(TaskEventTest, OnlyTaskMessagesAreReportable) {
    EXPECT_EQ(ReportableTask(Kyr::Test::MakeMessage("A", MessageType::KillProcessByPid)), nullptr);
    const auto task = Task();
    EXPECT_EQ(ReportableTask(task), task);
}

TEST_F(TaskEventTest, EachMissingIdentifierMakesTheTaskUnreportable) {
    const std::string id = "11111111-1111-1111-1111-111111111111";
    EXPECT_EQ(ReportableTask(Task({"", id, id})), nullptr);
    EXPECT_EQ(ReportableTask(Task({id, "", id})), nullptr);
    EXPECT_EQ(ReportableTask(Task({id, id, ""})), nullptr);
}

}  // namespace
}  // namespace Kyr::Connectors::Common
