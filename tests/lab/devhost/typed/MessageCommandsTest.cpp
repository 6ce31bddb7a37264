#include <gmock/gmock.h>
#include <google/protobuf/text_format.h>

#include <boost/pointer_cast.hpp>

#include "host/message/OvAgentTasks.h"
#include "host/message/RequestConfigurationMessage.h"
#include "lab/devhost/typed/HostCommands.h"
#include "logs/OvAgentRequest.h"
#include "tests/lab/common/LineList.h"
#include "tests/lab/devhost/resources/TestBus.h"
#include "tests/support/UuidText.h"

namespace Kyr::Test {
namespace {

namespace Task = Common::Message::Connectors::OvAgentConnector::Task;
using Common::Message::CTask;
using Common::Message::Configuration::CRequestConfigurationMessage;
using Common::Message::Connectors::OvAgentConnector::COvAgentRequest;
using Common::Module::CResponse;

std::string IdentifierText(const CTask::Uuid& identifier) {
    return identifier.IsInitialized() ? identifier.uuid() : "none";
}

/// The payload's fields, those only that are there.
template <typename Message>
std::string PayloadText(const IMessage& message) {
    google::protobuf::TextFormat::Printer printer;
    printer.SetSingleLineMode(true);
    std::string text;
    if (const auto* task = dynamic_cast<const Message*>(&message)) {
        printer.PrintToString(task->GetPayload(), &text);
    }
    return text;
}

/// What a message carries, and whether it may be changed still.
std::string ContentOf(const IMessage& message) {
    std::string text;
    if (const auto* task = dynamic_cast<const CTask*>(&message)) {
        text += IdentifierText(task->GetFirstIdentifier()) + " " +
                IdentifierText(task->GetSecondIdentifier()) + " " +
                IdentifierText(task->GetThirdIdentifier()) + " ";
    }
    text += PayloadText<Task::CKillProcessByPid>(message);
    text += PayloadText<Task::CBlockExecutableByHash>(message);
    text += PayloadText<CRequestConfigurationMessage>(message);
    if (const auto* trigger = dynamic_cast<const COvAgentRequest*>(&message)) {
        text += "kind " + std::to_string(trigger->GetRequestType()) + " ";
    }
    if (const auto* reply = dynamic_cast<const CResponse*>(&message)) {
        text += "request " + std::to_string(reply->GetRequestId()) + " ";
    }
    const auto* control = dynamic_cast<const Common::Message::CWriteControl*>(&message);
    return text + (control == nullptr ? "" : control->IsReadOnly() ? "read-only" : "writable");
}

class MessageCommandsTest : public ::testing::Test {
  protected:
    MessageCommandsTest() {
        for (const MessageType type :
             {MessageType::KillProcessByPid, MessageType::BlockExecutableByHash,
              MessageType::RequestConfiguration, MessageType::OvAgentRequest, MessageType::Response,
              MessageType::Reply}) {
            bus_.Subscribe(subscriber_, type);
        }
    }

    /// The message that a line sends.
    boost::shared_ptr<IMessage> Send(const std::string& line) {
        console_.Execute(line);
        bus_.WaitUntilDelivered();
        return subscriber_->messages.back();
    }

    const boost::shared_ptr<CKeepingSubscriber> subscriber_ =
        boost::make_shared<CKeepingSubscriber>();
    Lab::CLineList events_;
    Lab::DevHost::CBus bus_{[](const Lab::CLine&) {}};
    Lab::CConsole console_{{Lab::DevHost::MessageCommands(bus_)}, events_.Sink()};
};

TEST_F(MessageCommandsTest, MessageCarriesWhatItsWordsSayAndNoMore) {
    const char* const kRows[][2] = {
        {"kill pid=18446744073709551615 sha1=AB< sha256= ids=a,,c",
         "a none c process_id: 18446744073709551615 executable_hash_sha1: \"AB<\" "
         "executable_hash_sha2_256: \"\" read-only"},
        {"kill pid=1 ids=a,b,c", "a b c process_id: 1 read-only"},
        {"block sha256=cd sha1=ab delete=1 ids=a,b,c",
         "a b c executable_hash_sha1: \"ab\" executable_hash_sha2_256: \"cd\" "
         "delete_executable: true read-only"},
        {"block sha256=cd ids=a,b,c",
         "a b c executable_hash_sha2_256: \"cd\" delete_executable: false read-only"},
        {"export type=9 ids=a,b,c", "a b c producttype: 9 read-only"},
        {"export ids=a,b,c", "a b c read-only"},
        {"trigger kind=2147483647", "kind 2147483647 read-only"},
        {"reply request=7", "request 7 "},
        {"reply", "request 0 "},
        {"reply type=1 alien", ""},
    };
    for (const auto& [line, content] : kRows) {
        EXPECT_EQ(ContentOf(*Send(line)), content) << line;
    }
}

TEST_F(MessageCommandsTest, TaskWithoutIdentifiersGetsFreshOnes) {
    const auto ids = [this] {
        console_.Execute("kill pid=1");
        const std::string answer = events_.Take().back();
        return answer.substr(std::string("answer command=kill ids=").size());
    };
    const std::string first = ids();
    EXPECT_TRUE(AreUuidTexts(first, 3)) << first;
    EXPECT_NE(first.substr(0, 36), first.substr(37, 36));
    EXPECT_NE(first.substr(0, 36), ids().substr(0, 36));
}

TEST_F(MessageCommandsTest, ReplyIsOfTheTypeThatWasGiven) {
    EXPECT_EQ(MessageType::Response, Send("reply")->GetMessageType());
    EXPECT_EQ(MessageType::Reply, Send("reply type=1")->GetMessageType());
    const auto alien = Send("reply type=1 alien");
    EXPECT_EQ(MessageType::Reply, alien->GetMessageType());
    EXPECT_EQ("AlienReply", alien->GetName());
}

TEST_F(MessageCommandsTest, WordsThatMakeNoMessageAreRefused) {
    const char* const kRows[][2] = {
        {"kill sha1=ab", "command=kill text=\"pid is missing\""},
        {"kill pid=me", "command=kill text=\"'me' is not a number\""},
        {"kill pid=1 ids=a,b",
         "command=kill text=\"ids takes three identifiers with commas between them\""},
        {"kill pid=1 delete=1", "command=kill text=\"not understood: delete=1\""},
        {"block sha256=cd delete=2", "command=block text=\"delete is at most 1\""},
        {"trigger", "command=trigger text=\"kind is missing\""},
        {"trigger kind=2147483648", "command=trigger text=\"kind is at most 2147483647\""},
        {"trigger kind=0 now", "command=trigger text=\"not understood: now\""},
        {"reply type=7", "command=reply text=\"the type of a reply is 688 or 1\""},
        {"reply now", "command=reply text=\"not understood: now\""},
    };
    for (const auto& [line, error] : kRows) {
        console_.Execute(line);
        EXPECT_THAT(events_.Take(), ::testing::ElementsAre("error " + std::string(error))) << line;
    }
    bus_.WaitUntilDelivered();
    EXPECT_THAT(subscriber_->messages, ::testing::IsEmpty());
}

}  // namespace
}  // namespace Kyr::Test
