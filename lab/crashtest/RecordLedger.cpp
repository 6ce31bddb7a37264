#include "lab/crashtest/RecordLedger.h"

namespace Kyr::Lab::CrashTest {

std::optional<std::string> CRecordLedger::CloseLife(const std::vector<std::uint64_t>& numbers,
                                                    std::uint64_t offset) {
    std::uint64_t last = offset_;
    for (const std::uint64_t number : numbers) {
        if (number != last + 1) {
            return "record " + std::to_string(number) + " came where " + std::to_string(last + 1) +
                   " was due";
        }
        last = number;
        ++stored_;
        if (number <= highest_) {
            ++twice_;
        } else {
            highest_ = number;
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

}  // namespace Kyr::Lab::CrashTest
