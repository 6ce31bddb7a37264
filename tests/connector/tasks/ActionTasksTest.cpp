// What both action tasks have in common: their use of the channel, their log and their failures.
#include <stdexcept>

#include <boost/thread/thread.hpp>

#include "connector/TaskExceptions.h"
#include "connector/tasks/WinOvBlockExecutableByHashTask.h"
#include "connector/tasks/WinOvKillProcessByPidTask.h"
#include "tests/connector/tasks/ActionTaskFixture.h"
#include "tests/support/host/TestMessage.h"
#include "tests/support/product/FakeReceiver.h"

namespace Kyr::Connectors::OvAgentConnector {
namespace {

namespace TaskMessages = Kyr::Common::Message::Connectors::OvAgentConnector::Task;
using Kyr::Common::Kernel::MessageType;
using testing::ElementsAre;
using testing::IsEmpty;

struct KillProcess {
    using Task = CWinOvKillProcessByPidTask;
    using Message = TaskMessages::CKillProcessByPid;
    static constexpr MessageType kType = MessageType::KillProcessByPid;
    static constexpr int kNumber = 918;
    static constexpr char kAnnouncement[] = "2 Sending kill process by pid request to product";
    static constexpr char kText[] =
        R"(<?xml version="1.0" encoding="utf-8"?><TULK><MESSAGE VERSION="1">)"
        R"(<REQUEST FUNCTION="KILL_PROCESS_BY_PID"><DATA>)"
        R"(<NODE NAME="PID" TYPE="STRING" VALUE="7" />)"
        R"(<NODE NAME="USERDATA" TYPE="STRING" VALUE="id-1;id-2;id-3" />)"
        R"(</DATA></REQUEST></MESSAGE></TULK>)";
    static Message::Payload Payload() {
        Message::Payload payload;
        payload.set_process_id(7);
        return payload;
    }
};

struct BlockExecutable {
    using Task = CWinOvBlockExecutableByHashTask;
    using Message = TaskMessages::CBlockExecutableByHash;
    static constexpr MessageType kType = MessageType::BlockExecutableByHash;
    static constexpr int kNumber = 919;
    static constexpr char kAnnouncement[] = "2 Sending block executable by hash request to product";
    static constexpr char kText[] =
        R"(<?xml version="1.0" encoding="utf-8"?><TULK><MESSAGE VERSION="1">)"
        R"(<REQUEST FUNCTION="BLOCK_EXECUTABLE_BY_HASH"><DATA>)"
        R"(<NODE NAME="DELETE" TYPE="DWORD" VALUE="1" />)"
        R"(<NODE NAME="USERDATA" TYPE="STRING" VALUE="id-1;id-2;id-3" />)"
        R"(</DATA></REQUEST></MESSAGE></TULK>)";
    static Message::Payload Payload() {
        Message::Payload payload;
        payload.set_delete_executable(true);
        return payload;
    }
};

template <typename Action>
class ActionTasksTest : public ActionTaskFixture {
  protected:
    void Execute() { task.Execute(MakeTaskMessage<typename Action::Message>(Action::Payload())); }

    typename Action::Task task{channel, &logger};
};

using Actions = testing::Types<KillProcess, BlockExecutable>;
struct ActionNames {
    template <typename Action>
    static std::string GetName(int /*number*/) {
        return std::to_string(Action::kNumber);
    }
};
TYPED_TEST_SUITE(ActionTasksTest, Actions, ActionNames);

TYPED_TEST(ActionTasksTest, ServesItsMessageType) {
    EXPECT_EQ(this->task.GetMessageType(), TypeParam::kType);
    EXPECT_EQ(static_cast<int>(this->task.GetMessageType()), TypeParam::kNumber);
}

TYPED_TEST(ActionTasksTest, SendsTheRequest) {
    this->Execute();
    EXPECT_EQ(this->SentText(), TypeParam::kText);
}

TYPED_TEST(ActionTasksTest, RequestIsTwelveBytesLongerThanItsText) {
    this->Execute();
    ASSERT_EQ(this->channel->requests.size(), 1u);
    EXPECT_EQ(this->channel->requests[0].size(), std::string(TypeParam::kText).size() + 12);
}

TYPED_TEST(ActionTasksTest, AnnouncesAndLogsTheRequest) {
    this->Execute();
    EXPECT_THAT(
        this->logger.Capture().Lines(),
        ElementsAre(TypeParam::kAnnouncement, std::string("2 XML request: ") + TypeParam::kText));
}

TYPED_TEST(ActionTasksTest, LeavesTheInstalledReceiverAlone) {
    const auto receiver = boost::make_shared<Kyr::Test::CFakeReceiver>();
    this->channel->receiver = receiver;
    this->Execute();
    EXPECT_THAT(this->channel->calls, ElementsAre("Send"));
    EXPECT_EQ(this->channel->receiver, receiver);
    EXPECT_THAT(receiver->replies, ElementsAre(testing::SizeIs(12)));
}

TYPED_TEST(ActionTasksTest, RefusalByTheProductIsACountedRetry) {
    static constexpr char kRefusal[] =
        "CKelcommChannel: Send request failed with 14, Command failed - Make sure that Agent runs "
        "with Administrator privileges.";
    this->channel->product = [](const auto&) -> Kyr::Test::CFakeChannel::Bytes {
        throw std::runtime_error(kRefusal);
    };
    try {
        this->Execute();
        FAIL() << "nothing was thrown";
    } catch (const Common::CRetryException& error) {
        EXPECT_STREQ(error.what(), kRefusal);
        EXPECT_FALSE(error.IsRestartNeeded());
    }
}

TYPED_TEST(ActionTasksTest, BothLinesPrecedeTheExchange) {
    std::size_t linesBefore = 0;
    this->channel->product = [&](const auto&) {
        linesBefore = this->logger.Capture().Lines().size();
        return Kyr::Test::CFakeChannel::Bytes(12);
    };
    this->Execute();
    EXPECT_EQ(linesBefore, 2u);
}

TYPED_TEST(ActionTasksTest, InterruptionIsNoFailure) {
    this->channel->product = [](const auto&) -> Kyr::Test::CFakeChannel::Bytes {
        throw boost::thread_interrupted();
    };
    EXPECT_THROW(this->Execute(), boost::thread_interrupted);
}

TYPED_TEST(ActionTasksTest, ReplyIsNotExamined) {
    this->channel->product = [](const auto&) { return Kyr::Test::CFakeChannel::Bytes{0xFF}; };
    EXPECT_NO_THROW(this->Execute());
}

TYPED_TEST(ActionTasksTest, RetriedMessageIsSentAgainInFull) {
    this->Execute();
    this->Execute();
    ASSERT_EQ(this->channel->requests.size(), 2u);
    EXPECT_EQ(this->channel->requests[0], this->channel->requests[1]);
}

TYPED_TEST(ActionTasksTest, MessageOfAnotherClassIsIgnored) {
    EXPECT_NO_THROW(this->task.Execute(Kyr::Test::MakeMessage("A", TypeParam::kType)));
    EXPECT_THAT(this->channel->calls, IsEmpty());
    EXPECT_THAT(this->logger.Capture().Lines(), IsEmpty());
}

TYPED_TEST(ActionTasksTest, CancelDoesNotKeepItFromExecuting) {
    this->task.Cancel();
    this->Execute();
    EXPECT_EQ(this->channel->requests.size(), 1u);
}

}  // namespace
}  // namespace Kyr::Connectors::OvAgentConnector
