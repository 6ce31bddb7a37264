// A scripted module in a fake host, on a clock that the test moves.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

#include <boost/make_shared.hpp>

#include "connector/LocalizedException.h"
#include "connector/TaskExceptions.h"
#include "host/message/OvAgentTasks.h"
#include "logs/EventLog.h"
#include "tests/connector/ScriptedModule.h"
#include "tests/connector/ScriptedTask.h"
#include "tests/support/host/FakeHost.h"
#include "tests/support/host/TestMessage.h"
#include "tests/support/time/Await.h"
#include "tests/support/time/ManualClock.h"

namespace Kyr::Connectors::Common {

class ModuleFixture : public testing::Test {
  protected:
    using MessageType = Kyr::Common::Kernel::MessageType;
    using TaskMessage = Kyr::Common::Message::Connectors::OvAgentConnector::Task::CKillProcessByPid;
    using EventPointer = boost::shared_ptr<Kyr::Common::Message::Logs::CEventLog>;
    using Strings = std::vector<std::string>;

    static constexpr char kFirst[] = "11111111-1111-1111-1111-111111111111";
    static constexpr char kSecond[] = "22222222-2222-2222-2222-222222222222";
    static constexpr char kThird[] = "33333333-3333-3333-3333-333333333333";

    /// A message that carries three identifiers and is named "KillProcessByPid".
    static boost::shared_ptr<TaskMessage> MakeTaskMessage(const std::string& first = kFirst) {
        Kyr::Common::Message::CTask::Uuid ids[3];
        ids[0].set_uuid(first);
        ids[1].set_uuid(kSecond);
        ids[2].set_uuid(kThird);
        const auto message = boost::make_shared<TaskMessage>();
        message->SetIdentifiers(ids[0], ids[1], ids[2]);
        return message;
    }

    /// Gives the module one more task, of the type of MakeTaskMessage.
    Kyr::Test::CScriptedTask& AddTask(MessageType type = MessageType::KillProcessByPid) {
        const auto task = boost::make_shared<Kyr::Test::CScriptedTask>(type);
        module->tasks.push_back(task);
        return *task;
    }
    void Start() {
        module->Initialize(host);
        module->Start();
    }
    void StartAndConnect() {
        Start();
        ASSERT_TRUE(clock->AwaitWaiters(1));
    }
    void Deliver(const boost::shared_ptr<Kyr::Common::Kernel::IMessage>& message,
                 const boost::shared_ptr<Kyr::Common::Kernel::IDeliveryContext>& context = {}) {
        host.bus->Deliver(message, context);
    }
    /// Lets the module handle everything that is queued, and ends it.
    /// REQUIRES: it is connected and does not reconnect any more.
    void Finish() {
        ASSERT_TRUE(Kyr::Test::Await([this] { return module->Stop(false); }));
    }

    /// The lines between connection and disconnection.
    Strings LinesWhileConnected() const {
        const Strings all = host.log->Lines();
        EXPECT_GE(all.size(), 3u);
        if (all.size() < 3) {
            return all;
        }
        EXPECT_EQ(all[0], "2 Connecting to product");
        EXPECT_EQ(all[1], "2 Connected to product, processing tasks");
        EXPECT_EQ(all.back(), "2 Disconnecting from product");
        return Strings(all.begin() + 2, all.end() - 1);
    }
    std::vector<EventPointer> Events() const {
        std::vector<EventPointer> events;
        for (const auto& publication : host.bus->Publications()) {
            if (const auto event =
                    boost::dynamic_pointer_cast<Kyr::Common::Message::Logs::CEventLog>(
                        publication.message)) {
                events.push_back(event);
            }
        }
        return events;
    }

    const boost::shared_ptr<Kyr::Test::CManualClock> clock =
        boost::make_shared<Kyr::Test::CManualClock>();
    Kyr::Test::CFakeHost host;
    std::unique_ptr<Kyr::Test::CScriptedModule> module =
        std::make_unique<Kyr::Test::CScriptedModule>(clock);
};

}  // namespace Kyr::Connectors::Common
