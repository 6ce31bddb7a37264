#include <gtest/gtest.h>

#include "host/kernel/ISubscriber.h"
#include "host/message/ApplyPolicy.h"
#include "host/message/ConnectorRequests.h"
#include "host/message/FdeTasks.h"
#include "host/message/LogMessage.h"
#include "host/message/OvAgentTasks.h"
#include "host/message/RequestConfigurationMessage.h"
#include "host/module/Response.h"
#include "tests/support/ThrownText.h"

namespace Kyr::Common::Message {
namespace {

using Configuration::CRequestConfigurationMessage;
using Connectors::FDEConnector::Task::CEnableFDEMaintenanceMode;
using Connectors::OvAgentConnector::Task::CBlockExecutableByHash;
using Connectors::OvAgentConnector::Task::CKillProcessByPid;
using Connectors::TCHConnector::CTchRequest;
using Connectors::TFDEConnector::CTFDERequest;
using Kernel::MessageType;
using Module::CResponse;
using Policies::CApplyPolicy;
using Test::ThrownText;

/// The task whose type its user chooses, with one.
class CMaintenanceTask : public CEnableFDEMaintenanceMode {
  public:
    CMaintenanceTask() : CEnableFDEMaintenanceMode(static_cast<MessageType>(900)) {}
};

CTask::Uuid UuidOf(const std::string& text) {
    CTask::Uuid uuid;
    uuid.set_uuid(text);
    return uuid;
}

// What a message carries beside identifiers, as one number.

template <typename Payload>
void Fill(Payload& payload, int content) {
    payload.set_executable_hash_sha1(std::to_string(content));
}

void Fill(CRequestConfigurationMessage::Payload& payload, int content) {
    payload.set_producttype(content);
}

template <typename Task>
void SetContent(Task& task, int content) {
    typename Task::Payload payload;
    Fill(payload, content);
    task.SetPayload(payload);
}

void SetContent(CMaintenanceTask& task, int content) {
    CMaintenanceTask::Configuration configuration;
    configuration.set_boots(static_cast<std::uint32_t>(content));
    task.SetConfiguration(configuration);
}

void SetContent(CApplyPolicy& policy, int content) {
    policy.SetPolicyBlob(std::to_string(content));
}

void SetContent(CTFDERequest& request, int content) {
    request.SetRequestType(content);
}

void SetContent(CTchRequest& request, int content) {
    request.SetRequestType(content);
}

/// Every class of messages that has a content.
template <typename Message>
class MessageTest : public ::testing::Test {
  protected:
    static Message Make(int content) {
        Message message;
        SetContent(message, content);
        return message;
    }
};

using Messages =
    ::testing::Types<CKillProcessByPid, CBlockExecutableByHash, CRequestConfigurationMessage,
                     CMaintenanceTask, CApplyPolicy, CTFDERequest, CTchRequest>;
TYPED_TEST_SUITE(MessageTest, Messages, );

TYPED_TEST(MessageTest, EqualityIsThatOfClassAndContent) {
    EXPECT_TRUE(this->Make(2).Equals(this->Make(2)));
    EXPECT_FALSE(this->Make(2).Equals(this->Make(1)));
    EXPECT_FALSE(TypeParam().Equals(CResponse(2)));
}

TEST(MessagesTest, TasksAndRequestsOfOtherClassesAreNotEqual) {
    EXPECT_FALSE(CKillProcessByPid().Equals(CBlockExecutableByHash()));
    EXPECT_FALSE(CBlockExecutableByHash().Equals(CKillProcessByPid()));
    EXPECT_FALSE(CTFDERequest().Equals(CTchRequest()));
    EXPECT_EQ(CTFDERequest().GetRequestType(), 0);
    EXPECT_EQ(CTchRequest().GetRequestType(), 0);
}

TYPED_TEST(MessageTest, ReadOnlyMessageRefusesAnotherContent) {
    TypeParam message = this->Make(1);
    message.SetReadOnly();
    EXPECT_EQ(ThrownText([&] { SetContent(message, 2); }), "Message is read only");
    EXPECT_TRUE(message.Equals(this->Make(1)));
}

/// Those that carry three identifiers.
template <typename Task>
class TaskTest : public ::testing::Test {
  protected:
    static Task Make(const char* first, const char* second, const char* third) {
        Task task;
        task.SetIdentifiers(UuidOf(first), UuidOf(second), UuidOf(third));
        return task;
    }
};

using Tasks = ::testing::Types<CKillProcessByPid, CBlockExecutableByHash,
                               CRequestConfigurationMessage, CMaintenanceTask>;
TYPED_TEST_SUITE(TaskTest, Tasks, );

TYPED_TEST(TaskTest, NewTaskHasNoIdentifiers) {
    const TypeParam task;
    EXPECT_FALSE(task.GetFirstIdentifier().IsInitialized());
    EXPECT_FALSE(task.GetSecondIdentifier().IsInitialized());
    EXPECT_FALSE(task.GetThirdIdentifier().IsInitialized());
}

TYPED_TEST(TaskTest, IdentifiersComeBackInTheirOrder) {
    const TypeParam task = this->Make("first", "second", "third");
    EXPECT_EQ(task.GetFirstIdentifier().uuid(), "first");
    EXPECT_EQ(task.GetSecondIdentifier().uuid(), "second");
    EXPECT_EQ(task.GetThirdIdentifier().uuid(), "third");
}

TYPED_TEST(TaskTest, EveryIdentifierMattersForEquality) {
    const TypeParam task = this->Make("a", "b", "c");
    EXPECT_TRUE(task.Equals(this->Make("a", "b", "c")));
    EXPECT_FALSE(task.Equals(this->Make("x", "b", "c")));
    EXPECT_FALSE(task.Equals(this->Make("a", "x", "c")));
    EXPECT_FALSE(task.Equals(this->Make("a", "b", "x")));
}

TYPED_TEST(TaskTest, ReadOnlyTaskRefusesIdentifiers) {
    TypeParam task = this->Make("a", "b", "c");
    task.SetReadOnly();
    EXPECT_EQ(ThrownText([&] { task.SetIdentifiers({}, {}, {}); }), "Message is read only");
    EXPECT_TRUE(task.Equals(this->Make("a", "b", "c")));
}

std::string TypeAndName(const Kernel::IMessage& message) {
    return std::to_string(static_cast<int>(message.GetMessageType())) + " " + message.GetName();
}

TEST(MessagesTest, TypesAndNames) {
    EXPECT_EQ(TypeAndName(CKillProcessByPid()), "918 KillProcessByPid");
    EXPECT_EQ(TypeAndName(CBlockExecutableByHash()), "919 BlockExecutableByHash");
    EXPECT_EQ(TypeAndName(CRequestConfigurationMessage()), "5 RequestConfiguration");
    EXPECT_EQ(TypeAndName(CMaintenanceTask()), "900 EnableFDEMaintenanceMode");
    EXPECT_EQ(TypeAndName(CApplyPolicy()), "194 ApplyPolicy");
    EXPECT_EQ(TypeAndName(CTFDERequest()), "8 TFDERequest");
    EXPECT_EQ(TypeAndName(CTchRequest()), "9 TchRequest");
    EXPECT_EQ(TypeAndName(CResponse(5)), "688 Response");
    EXPECT_EQ(TypeAndName(CResponse(5, MessageType::Reply)), "1 Response");
}

TEST(MessagesTest, MaintenanceTaskOfAnotherTypeIsNotEqual) {
    EXPECT_FALSE(
        CMaintenanceTask().Equals(CEnableFDEMaintenanceMode(static_cast<MessageType>(901))));
}

TEST(MessagesTest, EqualityOfResponsesIsThatOfTypeAndRequest) {
    EXPECT_EQ(CResponse(5).GetRequestId(), 5u);
    EXPECT_TRUE(CResponse(5).Equals(CResponse(5)));
    EXPECT_FALSE(CResponse(5).Equals(CResponse(6)));
    EXPECT_FALSE(CResponse(5).Equals(CResponse(5, MessageType::Reply)));
    EXPECT_FALSE(CResponse(5).Equals(CKillProcessByPid()));
}

TEST(MessagesTest, WriteControlIsTheSecondBase) {
    CKillProcessByPid message;
    const void* whole = &message;
    EXPECT_EQ(static_cast<const void*>(static_cast<Kernel::IMessage*>(&message)), whole);
    EXPECT_NE(static_cast<const void*>(static_cast<CWriteControl*>(&message)), whole);
}

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

TEST(LogMessageTest, IsInvalidWhateverValidateThrows) {
    EXPECT_TRUE(CLog(0).IsValid());
    EXPECT_FALSE(CLog(1).IsValid());
    EXPECT_FALSE(CLog(2).IsValid());
}

}  // namespace
}  // namespace Kyr::Common::Message
