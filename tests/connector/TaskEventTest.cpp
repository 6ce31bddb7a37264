#include <stdexcept>

#include "connector/TaskEvent.h"
#include "tests/connector/ModuleFixture.h"
#include "tests/support/ThrownText.h"

namespace Kyr::Connectors::Common {
namespace {

using Kyr::Common::Message::CTask;
using Kyr::Test::ThrownText;
using testing::ElementsAre;

class TaskEventTest : public ModuleFixture {
  protected:
    EventPointer Make(const TaskOutcome& outcome) {
        return MakeTaskEvent(*MakeTaskMessage(), outcome, reporter);
    }

    TaskReporter reporter{"12345678-9abc-def0-1234-56789abcdef0", 0x07100000000005E2, clock};
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
    std::vector<int> ids;
    for (std::size_t index = 0; index < symbols->GetCount(); ++index) {
        ids.push_back(symbols->GetSymbolAt(index));
    }
    EXPECT_THAT(ids, ElementsAre(2836, 2834, 2838, 2842, 2846, 2844, 2848, 2853, 2850, 2913));
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
    const auto time = Make(failed)->GetSymbols()->GetUtcTime(2838);
    EXPECT_EQ(time.year(), 2023);
    EXPECT_EQ(time.month(), 11);
    EXPECT_EQ(time.day(), 14);
    EXPECT_EQ(time.hour(), 22);
    EXPECT_EQ(time.minute(), 13);
    EXPECT_EQ(time.second(), 20);
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
    const auto make = [&] { MakeTaskEvent(*MakeTaskMessage("no uuid"), failed, reporter); };
    EXPECT_EQ(ThrownText(make), "invalid uuid string");
}

TEST_F(TaskEventTest, InstanceThatIsNoUuidThrows) {
    reporter.instanceUuid = "";
    EXPECT_EQ(ThrownText([this] { Make(failed); }), "invalid uuid string");
}

TEST_F(TaskEventTest, OnlyTaskMessagesAreReportable) {
    EXPECT_EQ(ReportableTask(Kyr::Test::MakeMessage("A", MessageType::KillProcessByPid)), nullptr);
    const auto task = MakeTaskMessage();
    EXPECT_EQ(ReportableTask(task), task);
}

TEST_F(TaskEventTest, EachMissingIdentifierMakesTheTaskUnreportable) {
    for (int missing = 0; missing < 3; ++missing) {
        CTask::Uuid ids[3];
        for (int id = 0; id < 3; ++id) {
            if (id != missing) {
                ids[id].set_uuid(kFirst);
            }
        }
        const auto message = boost::make_shared<TaskMessage>();
        message->SetIdentifiers(ids[0], ids[1], ids[2]);
        EXPECT_EQ(ReportableTask(message), nullptr) << "missing: " << missing;
    }
}

}  // namespace
}  // namespace Kyr::Connectors::Common
