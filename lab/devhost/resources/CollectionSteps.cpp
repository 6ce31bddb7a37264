#include "lab/devhost/resources/CollectionSteps.h"

#include <stdexcept>
#include <utility>

#include "lab/common/CommandWords.h"

namespace Kyr::Lab::DevHost {

namespace {

struct StepRow {
    CollectionStep step;
    const char* name;
};

constexpr StepRow kSteps[] = {
    {CollectionStep::kBeforeRequest, "before-request"},
    {CollectionStep::kAfterReply, "after-reply"},
    {CollectionStep::kAfterPublish, "after-publish"},
    {CollectionStep::kBeforeOffset, "before-offset"},
    {CollectionStep::kAfterOffset, "after-offset"},
};

}  // namespace

DeathWish ParseDeathWish(const std::string& text) {
    const std::size_t colon = text.find(':');
    DeathWish wish;
    wish.count = colon == std::string::npos ? 1 : ParseNumber(text.substr(colon + 1));
    std::string names;
    for (const StepRow& row : kSteps) {
        if (text.compare(0, colon, row.name) == 0) {
            wish.step = row.step;
            return wish;
        }
        names += std::string(names.empty() ? "" : ", ") + row.name;
    }
    throw std::invalid_argument("no such step: " + text + "; there are " + names);
}

CCollectionSteps::CCollectionSteps(std::optional<DeathWish> wish, std::function<void()> die)
    : wish_(wish), die_(std::move(die)) {}

void CCollectionSteps::OffsetRead() {
    // It is read once more behind the records, to add to it.
    if (!recordsStored_) {
        Pass(CollectionStep::kBeforeRequest);
    }
}

void CCollectionSteps::RecordsCame() {
    Pass(CollectionStep::kAfterReply);
}

void CCollectionSteps::RecordsStored() {
    recordsStored_ = true;
    Pass(CollectionStep::kAfterPublish);
}

void CCollectionSteps::OffsetCame() {
    Pass(CollectionStep::kBeforeOffset);
}

void CCollectionSteps::OffsetStored() {
    recordsStored_ = false;
    Pass(CollectionStep::kAfterOffset);
}

void CCollectionSteps::Pass(CollectionStep step) {
    if (wish_ && step == wish_->step && ++passed_ == wish_->count) {
        die_();
    }
}

}  // namespace Kyr::Lab::DevHost
