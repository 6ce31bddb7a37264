// Replies with records and actions, on their way through the receivers of the collection tasks:
// what is published is what came, and the offset moves over exactly that, or nothing happens.
//
// A sound message gives what it holds. Of any other it is known that what is passed on is what
// stands before the fault, and at most one record more: the one that the fault is in.
#include <algorithm>
#include <google/protobuf/stubs/logging.h>

#include <boost/make_shared.hpp>

#include "connector/tasks/WinOvGetEcsLogsTasks.h"
#include "connector/tasks/WinOvGetRemediationTask.h"
#include "kelcomm/messages/KelcommMessageFactory.h"
#include "logs/DataMinerMessages.h"
#include "proofs/bytes/Kind.h"
#include "proofs/bytes/Wire.h"
#include "tests/support/host/FakeDatabase.h"
#include "tests/support/host/LogCapture.h"
#include "tests/support/host/RecordingPublisher.h"

namespace Kyr::Proofs::Bytes {

namespace {

namespace Ov = Connectors::OvAgentConnector;
namespace DataMiners = Common::Message::DataMiners;
using Connectors::Common::Kelcomm::Messages::CKelcommMessageFactory;

constexpr std::uint64_t kOffsetBefore = 40;
constexpr char kBroken[] = "broken: ";  // a result that nothing can have

/// What a reply says, as far as it can be read by hand.
struct Content {
    std::vector<Input> records;
    std::uint32_t resultCode = 0;
    bool sound = true;
    bool endsEarly = false;  // bytes are missing at its end
    bool areTextsSound = true;

    /// Of a faulty reply: whether the line about it may tell so many records. When nothing but the
    /// end is missing, these are all whole ones, and the one that was cut perhaps.
    bool MayTell(std::uint64_t number) const {
        return !endsEarly || !areTextsSound || number == records.size() ||
               number == records.size() + 1;
    }
};

Content ReadContent(const Input& body, bool areTexts) {
    const Fields read = ReadFields(body);
    Content content{{}, 0, read.sound, read.endsEarly, true};
    for (const Fields::Field& field : read.fields) {
        if (field.number == 1 && field.type == 2) {
            content.records.push_back(field.text);
            if (areTexts && !IsUtf8(field.text)) {
                content.sound = content.areTextsSound = false;
                break;
            }
        } else if (field.number == 2 && field.type == 0) {
            content.resultCode = static_cast<std::uint32_t>(field.value);
        }
    }
    return content;
}

/// Whether the log was told once that bytes are missing at the end, and only then.
bool IsTold(const Content& content, const std::string& lines) {
    const std::string line = "payload ends early";
    const std::size_t place = lines.find(line);
    const bool isThere = place != std::string::npos;
    return isThere == content.endsEarly &&
           (!isThere || lines.find(line, place + 1) == std::string::npos);
}

/// The number of records in that line; 0 without one.
std::uint64_t NumberTold(const std::string& lines) {
    const std::string line = "payload ends early, ";
    const std::size_t place = lines.find(line);
    return place == std::string::npos ? 0 : std::stoull(lines.substr(place + line.size()));
}

/// What reached the host.
struct Passed {
    boost::shared_ptr<Test::CCapturingLogger> logger = boost::make_shared<Test::CCapturingLogger>();
    boost::shared_ptr<Test::CFakeKeyValues> store = boost::make_shared<Test::CFakeKeyValues>();
    boost::shared_ptr<Test::CRecordingPublisher> publisher =
        boost::make_shared<Test::CRecordingPublisher>();
    boost::shared_ptr<CKelcommMessageFactory> factory =
        boost::make_shared<CKelcommMessageFactory>();

    explicit Passed(const char* key) { store->Put(key, std::to_string(kOffsetBefore)); }

    /// All that the log has been told.
    std::string Lines() const {
        std::string text;
        for (const std::string& line : logger->Capture().Lines()) {
            text += (text.empty() ? "" : "; ") + line;
        }
        return text;
    }
    std::uint64_t Moved(const char* key) const {
        return std::stoull(store->Text(key)) - kOffsetBefore;
    }
};

// ---- records

struct Received {
    Result result;
    std::vector<std::string> records;
};

struct Texts {
    const char* published;
    const char* empty;
    const char* refused;  // the code follows
};

template <typename Task, typename StoreMessage>
Received ReceiveRecords(const char* key, const Input& reply) {
    Passed passed(key);
    typename Task::BufferReceiver receiver(passed.logger, {}, passed.factory, passed.store,
                                           passed.publisher);
    Received received;
    received.result = ResultOf([&]() -> Result {
        receiver.OnBufferReceived(reply);
        return {passed.Lines(), ""};
    });
    const auto& messages = passed.publisher->messages;
    for (const auto& message : messages) {
        received.records = dynamic_cast<const StoreMessage&>(*message).GetLogs();
    }
    if (messages.size() > 1 || passed.Moved(key) != received.records.size()) {
        received.result.outcome = kBroken + received.result.outcome;
    }
    received.result.detail = std::to_string(messages.size()) + " batches";
    for (const std::string& record : received.records) {
        received.result.detail += ' ' + std::to_string(record.size()) + ':' + record;
    }
    return received;
}

Finding JudgeRecords(const Received& received, const Texts& texts, const Input& reply) {
    const Result& got = received.result;
    const auto body = BodyOf(reply);
    if (reply.size() >= 12 && WordAt(reply, 8) == 0) {
        return Compare(got, {texts.empty, "0 batches"});
    }
    if (!body) {
        return Compare(got, {kShort, "0 batches"});
    }
    const Content content = ReadContent(*body, true);
    if (content.sound) {
        if (content.resultCode != 0) {
            return Compare(got, {texts.refused + std::to_string(content.resultCode), "0 batches"});
        }
        Result expected{texts.published, "1 batches"};
        for (const Input& record : content.records) {
            expected.detail += ' ' + std::to_string(record.size()) + ':' +
                               std::string(record.begin(), record.end());
        }
        return Compare(got, expected);
    }
    Finding finding{{ClassOf(got.outcome)}, ""};
    const bool isTold = IsTold(content, got.outcome);
    const std::size_t known = std::min(content.records.size(), received.records.size());
    // The record that was cut comes as far as it goes. So may a result code, which is then refused.
    const std::uint64_t told = NumberTold(got.outcome);
    bool same = received.records.size() <= content.records.size() + 1 && content.MayTell(told);
    if (content.endsEarly && got.outcome.find(texts.refused) == std::string::npos) {
        same = same && received.records.size() == told;
    }
    for (std::size_t i = 0; i < known; ++i) {
        const Input& record = content.records[i];
        same = same && received.records[i] == std::string(record.begin(), record.end());
    }
    if (!same || !isTold || got.outcome.find(kBroken) == 0) {
        finding.problem = got.outcome + " of a faulty message: " + got.detail;
    }
    return finding;
}

Finding LookAtIndicators(const Input& reply) {
    return JudgeRecords(
        ReceiveRecords<Ov::CWinOvGetEcsIndicatorLogsTask,
                       DataMiners::CDataMinerStoreEcsIndicatorLogs>("XDR_OFFSET", reply),
        {"1 Publishing ECS indicator logs",
         "1 Empty indicator logs response received from OVANTA Connector",
         "3 Failed to get ECS indicator logs from OVANTA Connector with code: "},
        reply);
}

Finding LookAtTelemetry(const Input& reply) {
    return JudgeRecords(
        ReceiveRecords<Ov::CWinOvGetEcsTelemetryLogsTask,
                       DataMiners::CDataMinerStoreEcsTelemetryLogs>("XDR_TELEMETRY_OFFSET", reply),
        {"1 Publishing ECS telemetry logs",
         "1 Empty telemetry logs response received from OVANTA Connector",
         "3 Failed to get ECS telemetry logs from OVANTA Connector with code: "},
        reply);
}

// ---- actions

constexpr char kActionKey[] = "OV_REMEDIATION_OFFSET";
constexpr char kStored[] = "stored";
constexpr char kRefusedActions[] = "3 Failed to get remediation data from OV Connector with code: ";

/// Nothing: the action is no sound message.
std::optional<bool> Blocks(const Input& action) {
    const Fields read = ReadFields(action);
    std::int32_t type = 0;
    for (const Fields::Field& field : read.fields) {
        if (field.number == 1 && field.type == 0) {
            type = static_cast<std::int32_t>(static_cast<std::uint32_t>(field.value));
        }
    }
    return read.sound ? std::optional(type == 3) : std::nullopt;
}

/// The action as it is to be stored: its type first, then all else in its order, each number as
/// short as it can be. Nothing for one with a group in it.
std::optional<std::string> StoredFormOf(const Input& action) {
    Input form = NumberField(1, 3);
    for (const Fields::Field& field : ReadFields(action).fields) {
        if (field.type == 3) {
            return std::nullopt;
        }
        if (field.type != 0) {
            form = form + (field.type == 2 ? TextField(field.number, field.text)
                                           : FixedField(field.number, field.type, field.text));
        } else if (field.number != 1) {
            form = form + NumberField(field.number, field.value);
        }
    }
    return std::string(form.begin(), form.end());
}

struct Stored {
    Result result;
    std::vector<std::string> actions;
    std::size_t batch = 0;
    std::uint64_t moved = 0;
    bool allBlock = true;
};

Stored ReceiveActions(const Input& reply) {
    Passed passed(kActionKey);
    const auto actions = boost::make_shared<Test::CFakeRemediationActions>();
    Ov::CWinOvGetRemediationTask::BufferReceiver receiver(passed.logger, passed.publisher, {},
                                                          passed.factory, actions, passed.store);
    Stored stored;
    stored.result = ResultOf([&]() -> Result {
        receiver.OnBufferReceived(reply);
        const std::string lines = passed.Lines();
        return {passed.publisher->messages.empty() ? lines
                : lines.empty()                    ? kStored
                                                   : lines + "; " + kStored,
                ""};
    });
    stored.moved = passed.Moved(kActionKey);
    for (const auto& batch : actions->Batches()) {
        stored.batch += batch.size();
        stored.actions.insert(stored.actions.end(), batch.begin(), batch.end());
        stored.allBlock = std::all_of(batch.begin(), batch.end(), [](const std::string& action) {
            return Blocks(Input(action.begin(), action.end())) == true;
        });
    }
    const std::size_t told = passed.publisher->messages.size();
    if (told > 1 || actions->Batches().size() != told || (stored.batch != 0) != (told != 0) ||
        (stored.moved != 0) != (told != 0)) {
        stored.result.outcome = kBroken + stored.result.outcome;
    }
    stored.result.detail =
        std::to_string(stored.batch) + " stored, moved by " + std::to_string(stored.moved);
    return stored;
}

Finding LookAtActions(const Input& reply) {
    constexpr char kNothing[] = "0 stored, moved by 0";
    const Stored stored = ReceiveActions(reply);
    const Result& got = stored.result;
    const auto body = BodyOf(reply);
    if (reply.size() >= 12 && WordAt(reply, 8) == 0) {
        return Compare(got, {"1 Empty response received from OV Connector", kNothing});
    }
    if (!body) {
        return Compare(got, {kShort, kNothing});
    }
    const Content content = ReadContent(*body, false);
    std::size_t blocking = 0;
    bool areActionsSound = true;
    bool areStoredAsTheyAre = true;
    for (const Input& action : content.records) {
        const auto blocks = Blocks(action);
        areActionsSound = areActionsSound && blocks.has_value();
        if (blocks == true && blocking < stored.actions.size()) {
            const auto form = StoredFormOf(action);
            areStoredAsTheyAre = areStoredAsTheyAre && (!form || stored.actions[blocking] == *form);
        }
        blocking += blocks == true ? 1 : 0;
    }
    const bool sound = content.sound && areActionsSound;
    if (!sound) {
        bool possible = stored.allBlock && IsTold(content, got.outcome) &&
                        got.outcome.find(kBroken) != 0 && stored.batch <= stored.moved &&
                        stored.moved <= content.records.size() + 1;
        if (content.endsEarly && areActionsSound) {
            const std::uint64_t told = NumberTold(got.outcome);
            possible = possible && content.MayTell(told) &&
                       (stored.batch == 0 || (stored.moved == told && stored.batch >= blocking)) &&
                       (stored.batch != 0 || blocking == 0 ||
                        got.outcome.find(kRefusedActions) != std::string::npos);
        }
        return {{ClassOf(got.outcome)}, possible ? "" : got.outcome + ": " + got.detail};
    }
    if (content.resultCode != 0) {
        return Compare(got, {kRefusedActions + std::to_string(content.resultCode), kNothing});
    }
    if (blocking == 0) {
        return Compare(got, {"1 No block actions received from OV Connector", kNothing});
    }
    Finding finding = Compare(got, {kStored, std::to_string(blocking) + " stored, moved by " +
                                                 std::to_string(content.records.size())});
    if (!stored.allBlock) {
        finding.problem = "an action was stored that does not block";
    } else if (!areStoredAsTheyAre) {
        finding.problem = "an action was stored as another one";
    }
    return finding;
}

// ----

/// A megabyte of the shortest fields that there are.
Input EmptyFields() {
    Input fields(1 << 20, 0);
    for (std::size_t i = 0; i < fields.size(); i += 2) {
        fields[i] = 0x0A;
    }
    return fields;
}

std::vector<Sample> RecordSamples() {
    const Input records = TextField(1, FromText("{\"a\":1}")) + TextField(1, FromText("")) +
                          TextField(1, FromText("\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80"));
    return {{"records", Reply(0, records + NumberField(2, 0))},
            {"refused", Reply(0, NumberField(2, 300) + records)},
            {"other fields",
             Reply(0, NumberField(3, 1) + TextField(4, FromText("new")) + Input{0x2D, 1, 2, 3, 4} +
                          Input{0x31, 1, 2, 3, 4, 5, 6, 7, 8} + records)},
            {"a long record", Reply(0, TextField(1, Input(200, 'r')))},
            {"none", Reply(0, {})},
            {"a megabyte of empty records", Reply(0, EmptyFields()), 0}};
}

}  // namespace

std::vector<Kind> RecordReplyKinds() {
    // The runtime complains about every text that is not UTF-8.
    google::protobuf::SetLogHandler(nullptr);
    const Input block = NumberField(1, 3) + TextField(2, FromText("sha256")) + NumberField(3, 9);
    const Input other = NumberField(1, static_cast<std::uint64_t>(-1));
    return {
        {"indicator records", false, RecordSamples(), LookAtIndicators},
        {"telemetry records", false, RecordSamples(), LookAtTelemetry},
        {"remediation actions",
         false,
         {{"one of three blocks",
           Reply(0, TextField(1, {}) + TextField(1, block) + TextField(1, other))},
          {"none blocks", Reply(0, TextField(1, other) + NumberField(2, 0))},
          {"refused", Reply(0, TextField(1, block) + NumberField(2, 5))},
          {"none", Reply(0, {})},
          {"a megabyte of empty actions", Reply(0, TextField(1, block) + EmptyFields()), 0}},
         LookAtActions},
    };
}

}  // namespace Kyr::Proofs::Bytes
