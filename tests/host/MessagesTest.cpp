#include <gtest/gtest.h>

#include "host/kernel/ISubscriber.h"
#include "host/message/LogMessage.h"
#include "host/message/OvAgentTasks.h"
#include "host/module/Response.h"
#include "tests/support/ThrownText.h"

namespace Kyr::Common::Message {
namespace {

using Connectors::OvAgentConnector::Task::CBlockExecutableByHash;
using Connectors::OvAgentConnector::Task::CKillProcessByPid;
using Kernel::MessageType;
using Module::CResponse;
using Test::ThrownText;

CTask::Uuid UuidOf(const std::string& text) {
    CTask::Uuid uuid;
    uuid.set_uuid(text);
    return uuid;
}

// The write control

TEST(WriteControlTest, IsWritableUntilSetReadOnly) {
    CWriteControl control;
    EXPECT_FALSE(control.IsReadOnly());
    EXPECT_NO_THROW(control.CheckWritable());
    control.SetReadOnly();
    EXPECT_TRUE(control.IsReadOnly());
    EXPECT_EQ(ThrownText([&] { control.CheckWritable(); }), "Message is read only");
}

TEST(WriteControlTest, IsTheSecondBaseOfAMessage) {
    CKillProcessByPid message;
    const void* whole = &message;
    EXPECT_EQ(static_cast<const void*>(static_cast<Kernel::IMessage*>(&message)), whole);
    EXPECT_NE(static_cast<const void*>(static_cast<CWriteControl*>(&message)), whole);
}

// The subscriber

TEST(SubscriberInterfaceTest, ForeignSubscribersNeedNotShowTheirMessages) {
    class CSubscriber : public Kernel::ISubscriber {
      public:
        void Push(const boost::shared_ptr<Kernel::IMessage>&,
                  const boost::shared_ptr<Kernel::IDeliveryContext>&) override {}
        std::string Dump() const override { return ""; }
    };
    int visits = 0;
    CSubscriber subscriber;
    subscriber.VisitPendingMessages([&visits](const auto&) { ++visits; });
    subscriber.VisitPendingMessages({});
    EXPECT_EQ(visits, 0);
}

// Log messages

class CLog : public CLogMessage {
  public:
    explicit CLog(int fault) : fault_(fault) {}
    MessageType GetMessageType() const override { return MessageType::ConfigurationEvent; }
    std::string GetName() const override { return "Log"; }
    bool Equals(const Kernel::IMessage&) const override { return false; }
    void Validate() const override {
        if (fault_ == 1) {
            throw std::runtime_error("fault");
        }
        if (fault_ == 2) {
            throw 2;
        }
    }

  private:
    int fault_;
};

TEST(LogMessageTest, IsValidWhenValidatePasses) {
    EXPECT_TRUE(CLog(0).IsValid());
}

TEST(LogMessageTest, IsInvalidWhateverValidateThrows) {
    EXPECT_FALSE(CLog(1).IsValid());
    EXPECT_FALSE(CLog(2).IsValid());
}

// Tasks

template <typename Task>
class TaskTest : public ::testing::Test {
  protected:
    static typename Task::Payload SomePayload(const std::string& hash = "aa") {
        typename Task::Payload payload;
        payload.set_executable_hash_sha1(hash);
        return payload;
    }

    static Task SomeTask() {
        Task task;
        task.SetIdentifiers(UuidOf("first"), UuidOf("second"), UuidOf("third"));
        task.SetPayload(SomePayload());
        return task;
    }
};

using Tasks = ::testing::Types<CKillProcessByPid, CBlockExecutableByHash>;
TYPED_TEST_SUITE(TaskTest, Tasks, );

TYPED_TEST(TaskTest, NewTaskHasNoIdentifiers) {
    const TypeParam task;
    EXPECT_FALSE(task.GetFirstIdentifier().IsInitialized());
    EXPECT_FALSE(task.GetSecondIdentifier().IsInitialized());
    EXPECT_FALSE(task.GetThirdIdentifier().IsInitialized());
}

TYPED_TEST(TaskTest, IdentifiersAndPayloadComeBack) {
    const TypeParam task = this->SomeTask();
    EXPECT_EQ(task.GetFirstIdentifier().uuid(), "first");
    EXPECT_EQ(task.GetSecondIdentifier().uuid(), "second");
    EXPECT_EQ(task.GetThirdIdentifier().uuid(), "third");
    EXPECT_EQ(task.GetPayload().executable_hash_sha1(), "aa");
}

TYPED_TEST(TaskTest, SameContentIsEqual) {
    EXPECT_TRUE(this->SomeTask().Equals(this->SomeTask()));
}

TYPED_TEST(TaskTest, EveryIdentifierMatters) {
    const TypeParam task = this->SomeTask();
    TypeParam other = this->SomeTask();
    other.SetIdentifiers(UuidOf("other"), UuidOf("second"), UuidOf("third"));
    EXPECT_FALSE(task.Equals(other));
    other.SetIdentifiers(UuidOf("first"), UuidOf("other"), UuidOf("third"));
    EXPECT_FALSE(task.Equals(other));
    other.SetIdentifiers(UuidOf("first"), UuidOf("second"), UuidOf("other"));
    EXPECT_FALSE(task.Equals(other));
}

TYPED_TEST(TaskTest, PayloadMatters) {
    TypeParam other = this->SomeTask();
    other.SetPayload(this->SomePayload("bb"));
    EXPECT_FALSE(this->SomeTask().Equals(other));
}

TYPED_TEST(TaskTest, ReadOnlyTaskRefusesChanges) {
    TypeParam task = this->SomeTask();
    task.SetReadOnly();
    const auto identifiers = [&] { task.SetIdentifiers({}, {}, {}); };
    const auto payload = [&] { task.SetPayload(this->SomePayload("bb")); };
    EXPECT_EQ(ThrownText(identifiers), "Message is read only");
    EXPECT_EQ(ThrownText(payload), "Message is read only");
    EXPECT_TRUE(task.Equals(this->SomeTask()));
}

TEST(OvAgentTasksTest, TypesAndNames) {
    EXPECT_EQ(CKillProcessByPid().GetMessageType(), MessageType::KillProcessByPid);
    EXPECT_EQ(CKillProcessByPid().GetName(), "KillProcessByPid");
    EXPECT_EQ(CBlockExecutableByHash().GetMessageType(), MessageType::BlockExecutableByHash);
    EXPECT_EQ(CBlockExecutableByHash().GetName(), "BlockExecutableByHash");
}

TEST(OvAgentTasksTest, TasksOfDifferentClassesAreNotEqual) {
    EXPECT_FALSE(CKillProcessByPid().Equals(CBlockExecutableByHash()));
    EXPECT_FALSE(CBlockExecutableByHash().Equals(CKillProcessByPid()));
}

// Responses

TEST(ResponseTest, TypeNameAndRequestId) {
    const CResponse response(5);
    EXPECT_EQ(response.GetMessageType(), MessageType::Response);
    EXPECT_EQ(response.GetName(), "Response");
    EXPECT_EQ(response.GetRequestId(), 5u);
    EXPECT_EQ(CResponse(5, MessageType::Reply).GetMessageType(), MessageType::Reply);
}

TEST(ResponseTest, EqualityIsThatOfTypeAndRequestId) {
    EXPECT_TRUE(CResponse(5).Equals(CResponse(5)));
    EXPECT_FALSE(CResponse(5).Equals(CResponse(6)));
    EXPECT_FALSE(CResponse(5).Equals(CResponse(5, MessageType::Reply)));
    EXPECT_FALSE(CResponse(5).Equals(CKillProcessByPid()));
}

}  // namespace
}  // namespace Kyr::Common::Message
