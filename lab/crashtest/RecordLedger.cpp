#include "lab/crashtest/RecordLedger.h"

#include <algorithm>

namespace Kyr::Lab::CrashTest {

void CRecordLedger::HandOut(std::uint64_t from, std::uint64_t records) {
    if (from <= sent_ + 1) {
        sent_ = std::max(sent_, from + records - 1);
    }
}

std::optional<std::string> CRecordLedger::CloseLife(const std::vector<std::string>& records,
                                                    std::uint64_t offset) {
    std::uint64_t last = offset_;
    for (const std::string& record : records) {
        if (last >= expected_.size() || record != expected_[last]) {
            return Describe(record) + " came where " + std::to_string(last + 1) + " was due";
        }
        ++last;
        ++stored_;
        if (last <= highest_) {
            ++twice_;
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
    batchesInFlight_ += last == offset ? 0 : 1;
    offset_ = offset;
    return std::nullopt;
}

std::string CRecordLedger::Describe(const std::string& record) const {
    const auto found = std::find(expected_.begin(), expected_.end(), record);
    return found == expected_.end() ? "a record that is none of the product's"
                                    : "record " + std::to_string(found - expected_.begin() + 1);
}

}  // namespace Kyr::Lab::CrashTest
