#include "fuzz/Reports.h"

#include <algorithm>
#include <iterator>

#include <boost/thread/lock_guard.hpp>

#include "fuzz/Account.h"
#include "host/logs/Symbols.h"
#include "logs/EventLog.h"
#include "logs/StatusLog.h"
#include "logs/SymbolTime.h"

namespace Kyr::Fuzz {

namespace {

namespace Symbols = Common::Logs::Symbols;
using Common::Kernel::MessageType;
using Common::Message::Logs::CEventLog;
using Common::Message::Logs::CStatusLog;
using Guard = boost::lock_guard<boost::mutex>;

// The module's own findings, in the host's numbers: all is well, and no connection.
constexpr std::uint64_t kAllIsWell = 0xFFFFFFFFFFFFFFFF;
constexpr std::uint64_t kNotConnected = 0x00000001000000B3;

constexpr std::int64_t kUntilDue = 5;  // seconds

/// What lines begin with, and the trigger that is meant. Numbers of the product and of the host.
struct Beginning {
    const char* text;
    int trigger;
};
constexpr Beginning kFound[] = {{"Received broadcast 2", 0}, {"Received broadcast 8", 2}};
constexpr Beginning kPublishes[] = {{"Publishing request 0", 0}, {"Publishing request 2", 2}};

template <typename Table>
std::optional<int> TriggerOf(const std::string& line, const Table& table) {
    const auto* const found =
        std::find_if(std::begin(table), std::end(table),
                     [&](const Beginning& beginning) { return line == beginning.text; });
    return found == std::end(table) ? std::nullopt : std::optional(found->trigger);
}

template <typename Row>
void ExpectTime(const Row& row, std::int32_t symbol, std::int64_t calendar) {
    if (row->GetTime(symbol) != Common::Logs::FromCalendarTime(calendar)) {
        Broken("something was told with another time than the calendar's");
    }
}

}  // namespace

void CReports::StatusHandedOut(std::uint64_t status) {
    const Guard guard(mutex_);
    status_ = status;
}

void CReports::ExpectStatusTold() const {
    const Guard guard(mutex_);
    if (status_) {
        Broken("a status was not told");
    }
}

void CReports::ExpectStatus(std::uint64_t status) const {
    const Guard guard(mutex_);
    if (told_ != status) {
        Broken("a change of the status was not told in time");
    }
}

void CReports::Published(const Common::Kernel::IMessage& message, std::int64_t calendar) {
    const Guard guard(mutex_);
    switch (message.GetMessageType()) {
        case MessageType::ProductStatus: {
            const auto row = dynamic_cast<const CStatusLog&>(message).GetSymbols()->GetRow(0);
            ExpectTime(row, Symbols::ProtectionStatus::kTime, calendar);
            EnterStatus(row->GetResourceId(Symbols::ProtectionStatus::kStatus));
            break;
        }
        case MessageType::PresenceStatus:
            ExpectTime(dynamic_cast<const CStatusLog&>(message).GetSymbols()->GetRow(0),
                       Symbols::AgentPresence::kTime, calendar);
            break;
        case MessageType::TaskEvent:
            ExpectTime(dynamic_cast<const CEventLog&>(message).GetSymbols(), Symbols::Task::kTime,
                       calendar);
            break;
        default:
            break;
    }
}

void CReports::EnterStatus(std::uint64_t status) {
    if (status == kAllIsWell || status == kNotConnected) {
        return;
    }
    if (status_ != status) {
        Broken("a status was told that nobody has just handed out");
    }
    told_ = status;
    status_.reset();
}

void CReports::Logged(const std::string& line, std::int64_t calendar) {
    const Guard guard(mutex_);
    if (const auto found = TriggerOf(line, kFound)) {
        changes_[*found].push_back(calendar);
    } else if (const auto trigger = TriggerOf(line, kPublishes)) {
        const auto& changes = changes_[*trigger];
        if (std::none_of(changes.begin(), changes.end(),
                         [&](std::int64_t change) { return change + kUntilDue <= calendar; })) {
            Broken("a change was acted upon before its time");
        }
        publishing_ = trigger;
    }
}

void CReports::Triggered(int kind, bool kept) {
    const Guard guard(mutex_);
    if (kept && publishing_ == kind) {
        // The earliest; what a connection before this one has found may be left.
        auto& changes = changes_[kind];
        changes.erase(std::min_element(changes.begin(), changes.end()));
    }
    publishing_.reset();
}

void CReports::ProcessEnded() {
    const Guard guard(mutex_);
    status_.reset();
    changes_.clear();
    publishing_.reset();
}

}  // namespace Kyr::Fuzz
