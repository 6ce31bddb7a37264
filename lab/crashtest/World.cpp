#include "lab/crashtest/World.h"

#include <algorithm>
#include <stdexcept>

#include <boost/thread/thread.hpp>

#include "lab/common/CommandWords.h"
#include "lab/common/EndThisProcess.h"
#include "lab/simproduct/records/RecordFile.h"

namespace Kyr::Lab::CrashTest {

namespace {

using Runner::CActor;

constexpr std::chrono::seconds kPatience(20);
constexpr boost::chrono::milliseconds kPoll(20);

void Ignore(const std::string&, const TimedLine&) {}

/// What is left of a program that ended before its kill is no crash that was meant.
void ExpectAlive(CActor& actor, const std::string& who) {
    if (const auto end = actor.AwaitEnd(std::chrono::milliseconds(0))) {
        throw std::runtime_error(who + " has ended by itself, with " + std::to_string(*end));
    }
}

}  // namespace

CWorld::CWorld(Runner::Stage stage, std::uint64_t batch)
    : stage_(std::move(stage)),
      batch_(batch),
      store_(stage_.HostDatabase()),
      ledgers_{CRecordLedger(batch), CRecordLedger(batch), CRecordLedger(batch)} {}

void CWorld::StartProduct() {
    product_ = stage_.Start("product", {"--records=" + stage_.File("records")}, Ignore);
    answers_ = 0;
    if (!product_->Find(
            0, [](const CLine& line) { return line.Kind() == "ready"; }, kPatience)) {
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
    const auto answer = product_->Find(
        answers_, [](const CLine& event) { return event.Kind() == "answer"; }, kPatience);
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
    return product_
        ->Find(
            collectedFrom_, [](const CLine& line) { return line.Kind() == "handed"; },
            std::chrono::seconds(1))
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
        return std::all_of(std::begin(kKinds), std::end(kKinds), [this](const RecordSource& kind) {
            return store_.Offset(kind) == appended_;
        });
    };
    do {
        if (std::chrono::steady_clock::now() > end) {
            throw std::runtime_error("records are left with the product");
        }
        ExpectAlive(*host_, "the host");
        Trigger(2);
        boost::this_thread::sleep_for(kPoll);
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
    for (std::size_t i = 0; i < ledgers_.size(); ++i) {
        const std::optional<std::string> problem =
            ledgers_[i].CloseLife(store_.NewRecords(kKinds[i]), store_.Offset(kKinds[i]));
        if (problem) {
            throw std::runtime_error(std::string(kKinds[i].name) + ": " + *problem);
        }
    }
}

}  // namespace Kyr::Lab::CrashTest
