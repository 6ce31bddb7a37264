#include "lab/crashtest/World.h"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <stdexcept>
#include <thread>
#include <utility>

#include "host/kernel/MessageType.h"
#include "lab/common/CommandWords.h"
#include "lab/common/EndThisProcess.h"
#include "lab/simproduct/records/RecordFile.h"

namespace Kyr::Lab::CrashTest {

namespace {

using Common::Kernel::MessageType;
using DevHost::CDatabase;
using Runner::CActor;

constexpr std::chrono::seconds kPatience(20);
constexpr std::chrono::milliseconds kPoll(20);

void Ignore(const std::string&, const TimedLine&) {}

/// How far a host has come.
std::uint64_t Offset(CDatabase& database, const RecordSource& kind) {
    const std::string text = database.GetValue(kind.offsetKey);
    return text.empty() ? 0 : ParseNumber(text);
}

/// What is left of a program that ended before its kill is no crash that was meant.
void ExpectAlive(CActor& actor, const std::string& who) {
    if (const auto end = actor.AwaitEnd(std::chrono::milliseconds(0))) {
        throw std::runtime_error(who + " has ended by itself, with " + std::to_string(*end));
    }
}

}  // namespace

const RecordSource kKinds[3] = {
    {"indicator", "3", "XDR_OFFSET",
     [](CDatabase& database) {
         return database.Records(MessageType::DataMinerStoreEcsIndicatorLogs);
     }},
    {"telemetry", "4", "XDR_TELEMETRY_OFFSET",
     [](CDatabase& database) {
         return database.Records(MessageType::DataMinerStoreEcsTelemetryLogs);
     }},
    {"action", "5", "OV_REMEDIATION_OFFSET",
     [](CDatabase& database) { return database.StoredActions(); }},
};

CWorld::CWorld(Runner::Stage stage, std::uint64_t batch)
    : stage_(std::move(stage)),
      batch_(batch),
      ledgers_{CRecordLedger(batch), CRecordLedger(batch), CRecordLedger(batch)} {}

void CWorld::StartProduct() {
    product_ = stage_.Start("product", {"--records=" + stage_.File("records")}, Ignore);
    answers_ = 0;
    if (!product_->Find(0, CActor::OfKind("ready"), kPatience)) {
        throw std::runtime_error("the product does not start");
    }
    Command("records limit batch=" + std::to_string(batch_));
}

void CWorld::KillProduct() {
    ExpectAlive(*product_, "the product");
    product_->Kill();
    product_->AwaitEnd(kPatience);  // with its last event
    BuryProduct();
}

void CWorld::BuryProduct() {
    // An event is in our hands once it is written, whatever becomes of the product then.
    for (const TimedLine& event : product_->Events()) {
        for (std::size_t i = 0; event.line.Kind() == "handed" && i < ledgers_.size(); ++i) {
            if (event.line.Value("kind") == kKinds[i].name) {
                ledgers_[i].HandOut(ParseNumber(event.line.Value("from")),
                                    ParseNumber(event.line.Value("records")));
            }
        }
    }
    product_.reset();
}

void CWorld::Command(const std::string& line) {
    product_->Send(line);
    const auto answer = product_->Find(answers_, CActor::OfKind("answer"), kPatience);
    if (!answer) {
        throw std::runtime_error("the product does not answer: " + line);
    }
    answers_ = *answer + 1;
}

void CWorld::Append(std::uint64_t count) {
    for (const RecordSource& kind : kKinds) {
        Command(std::string("records append ") + kind.name + " count=" + std::to_string(count));
    }
    appended_ += count;
}

void CWorld::Collect(int times) {
    collectedFrom_ = product_->Events().size();
    StartHost();
    Trigger(times);
}

bool CWorld::AwaitBatch() const {
    return product_->Find(collectedFrom_, CActor::OfKind("handed"), std::chrono::seconds(1))
        .has_value();
}

void CWorld::StartHost(const std::vector<std::string>& options) {
    host_ = stage_.Start("host", options, Ignore);
}

void CWorld::KillHost() {
    ExpectAlive(*host_, "the host");
    host_->Kill();
    host_->AwaitEnd(kPatience);
    BuryHost();
}

void CWorld::AwaitKilledHost() {
    const std::optional<int> end = host_->AwaitEnd(kPatience);
    if (!end) {
        throw std::runtime_error("the host does not end");
    }
    if (*end != kKilled) {
        throw std::runtime_error("the host was not killed, it ended with " + std::to_string(*end));
    }
    BuryHost();
}

void CWorld::BuryHost() {
    host_.reset();
    CloseLife();
}

void CWorld::Trigger(int times) {
    for (int i = 0; i < times; ++i) {
        for (const RecordSource& kind : kKinds) {
            host_->Send(std::string("trigger kind=") + kind.trigger);
        }
    }
}

void CWorld::Drain(std::chrono::seconds patience) {
    const auto end = std::chrono::steady_clock::now() + patience;
    const auto isDrained = [this] {
        CDatabase database(stage_.HostDatabase());
        return std::all_of(std::begin(kKinds), std::end(kKinds), [&](const RecordSource& kind) {
            return Offset(database, kind) == appended_;
        });
    };
    do {
        if (std::chrono::steady_clock::now() > end) {
            throw std::runtime_error("records are left with the product");
        }
        ExpectAlive(*host_, "the host");
        Trigger(2);
        std::this_thread::sleep_for(kPoll);
    } while (!isDrained());
}

void CWorld::QuitBoth() {
    for (auto* actor : {&host_, &product_}) {
        (*actor)->Send("quit");
        if ((*actor)->AwaitEnd(kPatience) != 0) {
            throw std::runtime_error("a program does not end well");
        }
    }
    BuryProduct();
    BuryHost();
}

void CWorld::ExpectNewRecords() {
    using namespace SimProduct;
    recordsRead_ = ReadRecords(
        stage_.File("records"), recordsRead_, [this](RecordKind kind, const ProductRecord& record) {
            ledgers_[static_cast<std::size_t>(kind)].Expect(BytesOf(kind, record));
        });
}

void CWorld::CloseLife() {
    ExpectNewRecords();
    CDatabase database(stage_.HostDatabase());  // a host that was killed early had not made it yet
    for (std::size_t i = 0; i < ledgers_.size(); ++i) {
        std::vector<std::string> records = kKinds[i].stored(database);
        const std::uint64_t earlier = ledgers_[i].Counts().stored;
        if (records.size() < earlier) {
            throw std::runtime_error(std::string(kKinds[i].name) + ": stored records are gone");
        }
        records.erase(records.begin(), records.begin() + static_cast<std::ptrdiff_t>(earlier));
        const std::optional<std::string> problem =
            ledgers_[i].CloseLife(records, Offset(database, kKinds[i]));
        if (problem) {
            throw std::runtime_error(std::string(kKinds[i].name) + ": " + *problem);
        }
    }
}

}  // namespace Kyr::Lab::CrashTest
