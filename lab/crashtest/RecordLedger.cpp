#include "lab/crashtest/RecordLedger.h"

#include <algorithm>

namespace Kyr::Lab::CrashTest {

RecordCounts& RecordCounts::operator+=(const RecordCounts& other) {
    for (const auto count : {&RecordCounts::sent, &RecordCounts::stored, &RecordCounts::twice,
                             &RecordCounts::lost, &RecordCounts::inFlight}) {
        this->*count += other.*count;
    }
    return *this;
}

void CRecordLedger::HandOut(std::uint64_t from, std::uint64_t records) {
    if (from <= counts_.sent + 1) {
        counts_.sent = std::max(counts_.sent, from + records - 1);
    }
}

RecordCounts CRecordLedger::Counts() const {
    RecordCounts counts = counts_;
    counts.lost = counts.sent - std::min(counts.sent, highest_);
    return counts;
}

std::optional<std::string> CRecordLedger::CloseLife(const std::vector<std::string>& records,
                                                    std::uint64_t offset) {
    std::uint64_t last = offset_;
    for (const std::string& record : records) {
        if (last >= expected_.size() || record != expected_[last]) {
            return Describe(record) + " came where " + std::to_string(last + 1) + " was due";
        }
        ++last;
        ++counts_.stored;
        if (last <= highest_) {
            ++counts_.twice;
        } else {
            highest_ = last;
        }
    }
    if (offset < offset_) {
        return "the offset went back from " + std::to_string(offset_) + " to " +
               std::to_string(offset);
    }
    if (offset > last) {
        return "lost: the offset is " + std::to_string(offset) +
               ", and the last record that came " + std::to_string(last);
    }
    if (last - offset > batch_) {
        return std::to_string(last - offset) +
               " records are stored beyond the offset; one batch is " + std::to_string(batch_);
    }
    counts_.inFlight += last == offset ? 0 : 1;
    offset_ = offset;
    return std::nullopt;
}

std::string CRecordLedger::Describe(const std::string& record) const {
    const auto found = std::find(expected_.begin(), expected_.end(), record);
    return found == expected_.end() ? "a record that is none of the product's"
                                    : "record " + std::to_string(found - expected_.begin() + 1);
}

}  // namespace Kyr::Lab::CrashTest
