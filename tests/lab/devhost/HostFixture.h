// A host in this process, as a person and its module see it: a session of what is typed, and of
// what is told of it.
//
// Behind "> " stands what is typed: the host's own commands, `sql <statement>` for the file of its
// database, and what its module is to do with what it is lent:
//
//   module asks <number>               asks for a resource
//   module maps <number>               asks the database for a mapper
//   module reads <key>                 takes a value from its mapper
//   module writes <key> <value>        gives it one
//   module stores <action>...          gives them to theirs
//   module logs <line>                 writes it to the host's log
//   module publishes <what> <record>...  what: indicators, telemetry, reply, nothing
//   module subscribes <who>            to replies and telemetry, one subscriber for each name
//   module looks                       nothing; `stored` tells what the database holds
//
// What the module gets for it, or whether, is told as `got`, what it has to catch as an `error`.
//
// Threads: one; deliveries of the bus are told on the bus's own.
#pragma once

#include <functional>
#include <gtest/gtest.h>
#include <map>
#include <string>
#include <vector>

#include <boost/algorithm/string/erase.hpp>
#include <boost/algorithm/string/join.hpp>
#include <boost/algorithm/string/predicate.hpp>

#include "lab/devhost/Host.h"
#include "logs/DataMinerMessages.h"
#include "tests/lab/common/LineList.h"
#include "tests/lab/devhost/TestModule.h"
#include "tests/lab/devhost/resources/TestBus.h"
#include "tests/support/system/TemporaryFolder.h"
#include "tests/support/time/Await.h"

namespace Kyr::Test {

struct Session {
    const char* name;
    std::vector<std::string> lines;
    const char* dieAt = nullptr;  // null: at no step of a collection
};

class HostFixture : public ::testing::TestWithParam<Session> {
  protected:
    HostFixture() {
        EXPECT_TRUE(host_.Start());
        bus_ = Lent<Common::Kernel::IBusResource>(1);
        log_ = Lent<Common::Kernel::ILoggerResource>(3);
        values_ = LentMapper<Common::Database::IKeyValueAccessMapper>(348);
        actions_ = LentMapper<Common::Database::IOvRemediationActionsMapper>(388);
        events_.Take();
    }

    /// Types what the session types; it is to go like that.
    void Play() {
        std::vector<std::string> lines;
        for (const std::string& line : GetParam().lines) {
            if (boost::algorithm::starts_with(line, "> ")) {
                lines.push_back(line);
                Type(line.substr(2));
                const std::vector<std::string> told = events_.Take();
                lines.insert(lines.end(), told.begin(), told.end());
            }
        }
        EXPECT_EQ(lines, GetParam().lines);
    }

  private:
    void Type(const std::string& line) {
        const std::string rest = line.substr(line.find(' ') + 1);
        if (boost::algorithm::starts_with(line, "module ")) {
            uses_.Execute(rest);
        } else if (boost::algorithm::starts_with(line, "sql ")) {
            Lab::DevHost::CSqliteConnection(file_).Execute(rest.c_str());
        } else {
            host_.Execute(line);
        }
    }

    /// A resource that the host lends its module.
    template <typename Resource>
    boost::shared_ptr<Resource> Lent(int number) {
        return boost::dynamic_pointer_cast<Resource>(module_.lent->GetResource(number));
    }
    template <typename Mapper>
    boost::shared_ptr<Mapper> LentMapper(int number) {
        const auto database = Lent<Common::Kernel::IDatabaseResource>(6);
        return boost::dynamic_pointer_cast<Mapper>(database->GetMapper(number));
    }

    void Got(const std::string& value) { events_.Sink()(Lab::CLine("got").With("value", value)); }
    void Got(bool value) { Got(value ? std::string("true") : "false"); }

    static boost::shared_ptr<IMessage> Message(const std::string& what,
                                               const std::vector<std::string>& records) {
        namespace Miners = Common::Message::DataMiners;
        const auto indicators = boost::make_shared<Miners::CDataMinerStoreEcsIndicatorLogs>();
        const auto telemetry = boost::make_shared<Miners::CDataMinerStoreEcsTelemetryLogs>();
        indicators->SetLogs(records);
        telemetry->SetLogs(records);
        return std::map<std::string, boost::shared_ptr<IMessage>>{{"indicators", indicators},
                                                                  {"telemetry", telemetry},
                                                                  {"reply", MakeMessage()},
                                                                  {"nothing", nullptr}}
            .at(what);
    }

    /// What the database holds, as far as it holds something.
    void TellStored(const char* kind) {
        Lab::DevHost::CDatabase database(file_);
        Lab::CLine line(kind);
        const auto tell = [&line](const char* key, const std::vector<std::string>& texts) {
            if (const std::string text = boost::algorithm::join(texts, ","); !text.empty()) {
                line.With(key, text);
            }
        };
        tell("offset", {database.GetValue("XDR_OFFSET")});
        tell("actions", database.StoredActions());
        tell("indicators", database.Records(MessageType::DataMinerStoreEcsIndicatorLogs));
        tell("telemetry", database.Records(MessageType::DataMinerStoreEcsTelemetryLogs));
        events_.Sink()(line);
    }

    /// Without the values that differ from run to run.
    void Take(const Lab::CLine& line) {
        Lab::CLine told(line.Kind());
        for (const auto& [key, value] : line.Fields()) {
            const bool differs = key == "private" || key == "resident";
            told.With(key, differs ? "" : boost::algorithm::erase_all_copy(value, file_));
        }
        events_.Sink()(told);
    }

    /// What a module does with what it is lent, a row for each word.
    Lab::ConsoleCommandGroup Uses() {
        const auto row = [](const char* name, std::function<void(Lab::CCommandWords&)> use) {
            return Lab::ConsoleCommand{
                name, "", "",
                [use](Lab::CCommandWords& words, const Lab::LineSink&) { use(words); }};
        };
        return {
            row("asks",
                [this](auto& words) {
                    Got(module_.lent->GetResource(std::stoi(words.TakeWord("number"))) != nullptr);
                }),
            row("maps",
                [this](auto& words) {
                    Got(LentMapper<Common::Database::IMapper>(
                            std::stoi(words.TakeWord("number"))) != nullptr);
                }),
            row("reads", [this](auto& words) { Got(values_->GetValue(words.TakeWord("key"))); }),
            row("writes",
                [this](auto& words) {
                    const std::string key = words.TakeWord("key");
                    Got(values_->SetValue(key, words.TakeWord("value")));
                }),
            row("stores", [this](auto& words) { Got(actions_->StoreActions(words.TakeRest())); }),
            row("logs", [this](auto& words) { log_->Log(words.TakeWord("line"), 2, "module"); }),
            row("publishes",
                [this](auto& words) {
                    const std::string what = words.TakeWord("what");
                    bus_->Publish(Message(what, words.TakeRest()), {});
                    EXPECT_TRUE(subscribers_.empty() || Await([this] {
                                    return boost::algorithm::starts_with(events_.Texts().back(),
                                                                         "deliver ");
                                }));
                }),
            row("subscribes",
                [this](auto& words) {
                    auto& subscriber = subscribers_[words.TakeWord("who")];
                    if (!subscriber) {
                        subscriber = boost::make_shared<CKeepingSubscriber>();
                    }
                    bus_->Subscribe(subscriber, MessageType::Response);
                    bus_->Subscribe(subscriber, MessageType::DataMinerStoreEcsTelemetryLogs);
                }),
            row("looks", [this](auto&) { TellStored("stored"); }),
        };
    }

    Lab::DevHost::HostSettings Settings() {
        Lab::DevHost::HostSettings settings{file_};
        if (GetParam().dieAt != nullptr) {
            settings.dieAt = Lab::DevHost::ParseDeathWish(GetParam().dieAt);
        }
        settings.die = [this] { TellStored("died"); };
        settings.instance = "chosen";
        settings.told = {"resource", "mapper", "subscribe", "read", "write"};
        return settings;
    }

    const CTemporaryFolder folder_;
    const std::string file_ = folder_.File("host.db");
    Lab::CLineList events_;
    CTestModule module_;
    Lab::DevHost::CHost host_{
        Settings(), [this] { return module_.Loaded(); },
        [this](const Lab::CLine& line) { Take(line); },
        [this](const Lab::CLine& line) {
            events_.Sink()(Lab::CLine("in-log-file").With("line", line.Text()));
        }};
    Lab::CConsole uses_{{Uses()}, [this](const Lab::CLine& line) { Take(line); }};
    // Set once the host has started: only then they are lent.
    boost::shared_ptr<Common::Kernel::IBusResource> bus_;
    boost::shared_ptr<Common::Kernel::ILoggerResource> log_;
    boost::shared_ptr<Common::Database::IKeyValueAccessMapper> values_;
    boost::shared_ptr<Common::Database::IOvRemediationActionsMapper> actions_;
    std::map<std::string, boost::shared_ptr<CKeepingSubscriber>> subscribers_;
};

}  // namespace Kyr::Test
