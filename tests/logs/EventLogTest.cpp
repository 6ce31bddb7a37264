#include <gtest/gtest.h>
#include <typeinfo>

#include <boost/make_shared.hpp>

#include "host/logs/LogDescriptorMapOverride.h"
#include "logs/EventLog.h"
#include "tests/support/GroupingLocale.h"
#include "tests/support/ThrownText.h"
#include "tests/support/host/TestMessage.h"
#include "tests/support/time/ManualClock.h"

namespace Kyr::Common::Message::Logs {
namespace {

using Common::Logs::CLogDescriptorMap;
using Kernel::MessageType;
using namespace Test;

constexpr auto kEventType = static_cast<MessageType>(20001);
constexpr auto kDelta = static_cast<MessageType>(20002);
constexpr auto kStatusType = static_cast<MessageType>(20003);

class EventLogTest : public ::testing::Test {
  protected:
    static CEventLog ValidLog(std::int64_t severity = 1) {
        CEventLog log(kEventType);
        log.GetSymbols()->AddInt64(301, severity).AddString(302, "text");
        return log;
    }

    const CLogDescriptorMap descriptors_{
        {{{kEventType, kDelta, kStatusType},
          DataDefinition::Logs::TASK,
          DataDefinition::Logs::PROTECTION_STATUS}},
        {{DataDefinition::Logs::TASK,
          false,
          {{301, Common::Logs::kInteger, {Common::Logs::TAG_MANDATORY}},
           {302, Common::Logs::kString}}},
         {DataDefinition::Logs::PROTECTION_STATUS, false, {{401, Common::Logs::kBool}}}}};
    const Common::Logs::CLogDescriptorMapOverride override_{descriptors_};
};

TEST_F(EventLogTest, EventTypeIsNamedAfterTheEventLogType) {
    const CEventLog log(kEventType);
    EXPECT_EQ(log.GetMessageType(), kEventType);
    EXPECT_EQ(log.GetName(), "EventLog_TASK");
}

TEST_F(EventLogTest, DeltaTypeIsNamedAfterTheDeltaLogType) {
    const CEventLog log(kDelta);
    EXPECT_EQ(log.GetMessageType(), kDelta);
    EXPECT_EQ(log.GetName(), "EventLog_PROTECTION_STATUS");
}

TEST_F(EventLogTest, StatusTypeIsRefused) {
    EXPECT_EQ(ThrownText([] { CEventLog log(kStatusType); }),
              "CEventLog: Message type 20003 is not event or delta log");
}

TEST_F(EventLogTest, TypeIsWrittenWithoutGrouping) {
    const Kyr::Test::CGroupingLocale grouping;
    EXPECT_EQ(ThrownText([] { CEventLog log(kStatusType); }),
              "CEventLog: Message type 20003 is not event or delta log");
}

TEST_F(EventLogTest, TypeThatIsNoLogIsRefused) {
    EXPECT_EQ(ThrownText([] { CEventLog log(MessageType::KillProcessByPid); }),
              "CEventLog: Message type 918 is not event or delta log");
}

// A descriptor uses it for the forms in which a thing is not reported.
TEST_F(EventLogTest, NumberThatMeansNoTypeIsRefused) {
    EXPECT_EQ(ThrownText([] { CEventLog log(Common::Logs::kNoMessageType); }),
              "CEventLog: Message type 4294967295 is not event or delta log");
}

TEST_F(EventLogTest, NewLogIsWritableAndEmpty) {
    const CEventLog log(kEventType);
    EXPECT_FALSE(log.IsReadOnly());
    EXPECT_EQ(log.GetSymbols()->GetCount(), 0u);
}

TEST_F(EventLogTest, HostFieldsHaveTheirInitialValues) {
    const CEventLog log(kEventType);
    EXPECT_TRUE(log.GetHostFields().flag);
    EXPECT_EQ(log.GetHostFields().first, -1);
    EXPECT_EQ(log.GetHostFields().second, -1);
}

TEST_F(EventLogTest, RowHasTheLogsClock) {
    const auto clock = boost::make_shared<CManualClock>();
    clock->SetStartTime(0);
    const CEventLog log(kEventType, clock);
    log.GetSymbols()->AddCurrentTime(303);
    EXPECT_EQ(log.GetSymbols()->GetUtcTime(303).year(), 1970);
}

TEST_F(EventLogTest, SameSymbolsInAnotherOrderAreEqual) {
    CEventLog other(kEventType);
    other.GetSymbols()->AddString(302, "text").AddInt64(301, 1);
    EXPECT_TRUE(ValidLog().Equals(other));
}

TEST_F(EventLogTest, OtherSymbolsAreNotEqual) {
    EXPECT_FALSE(ValidLog(1).Equals(ValidLog(2)));
}

TEST_F(EventLogTest, OtherTypeIsNotEqual) {
    EXPECT_FALSE(CEventLog(kEventType).Equals(CEventLog(kDelta)));
}

TEST_F(EventLogTest, SameTypeOfAnotherClassThrows) {
    const CEventLog log(kEventType);
    EXPECT_THROW(log.Equals(CTestMessage(kEventType, "impostor")), std::bad_cast);
}

TEST_F(EventLogTest, FittingRowIsValid) {
    EXPECT_NO_THROW(ValidLog().Validate());
    EXPECT_TRUE(ValidLog().IsValid());
}

TEST_F(EventLogTest, RowThatDoesNotFitIsInvalid) {
    const CEventLog log(kEventType);
    EXPECT_THROW(log.Validate(), std::runtime_error);
    EXPECT_FALSE(log.IsValid());
}

TEST_F(EventLogTest, DeltaIsCheckedAgainstTheDeltaLogType) {
    const CEventLog log(kDelta);
    log.GetSymbols()->AddBool(401, true);
    EXPECT_TRUE(log.IsValid());
    log.GetSymbols()->AddInt64(301, 1);
    EXPECT_FALSE(log.IsValid());
}

TEST_F(EventLogTest, ReadOnlyLogRefusesChanges) {
    CEventLog log = ValidLog();
    log.SetReadOnly();
    EXPECT_TRUE(log.IsReadOnly());
    EXPECT_EQ(ThrownText([&] { log.CheckWritable(); }), "Message is read only");
    EXPECT_EQ(ThrownText([&] { log.GetSymbols()->AddInt64(303, 1); }),
              "Cannot add symbol 303: container is locked");
}

TEST_F(EventLogTest, SetReadOnlyThroughTheWriteControlLocksToo) {
    CEventLog log = ValidLog();
    static_cast<CWriteControl&>(log).SetReadOnly();
    EXPECT_EQ(ThrownText([&] { log.GetSymbols()->AddInt64(303, 1); }),
              "Cannot add symbol 303: container is locked");
}

}  // namespace
}  // namespace Kyr::Common::Message::Logs
