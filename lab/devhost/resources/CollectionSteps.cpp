#include "lab/devhost/resources/CollectionSteps.h"

#include <stdexcept>
#include <utility>

#include "lab/common/CommandWords.h"

namespace Kyr::Lab::DevHost {

namespace {

struct CStepRow {
    CollectionStep step;
    const char* name;
};

constexpr CStepRow kSteps[] = {
    {CollectionStep::BeforeRequest, "before-request"},
    {CollectionStep::AfterReply, "after-reply"},
    {CollectionStep::AfterPublish, "after-publish"},
    {CollectionStep::BeforeOffset, "before-offset"},
    {CollectionStep::AfterOffset, "after-offset"},
};

}  // namespace

CDeathWish ParseDeathWish(const std::string& text) {
    const std::size_t colon = text.find(':');
    CDeathWish wish;
    wish.count = colon == std::string::npos ? 1 : ParseNumber(text.substr(colon + 1));
    for (const CStepRow& row : kSteps) {
        if (text.compare(0, colon, row.name) == 0) {
            wish.step = row.step;
            return wish;
        }
    }
    throw std::invalid_argument("no such step: " + text);
}

CCollectionSteps::CCollectionSteps(std::optional<CDeathWish> wish, std::function<void()> die)
    : wish_(wish), die_(std::move(die)) {}

void CCollectionSteps::OffsetRead() {
    // It is read once more behind the records, to add to it.
    if (!recordsStored_) {
        Pass(CollectionStep::BeforeRequest);
    }
}

void CCollectionSteps::RecordsCame() {
    Pass(CollectionStep::AfterReply);
}

void CCollectionSteps::RecordsStored() {
    recordsStored_ = true;
    Pass(CollectionStep::AfterPublish);
}

void CCollectionSteps::OffsetCame() {
    Pass(CollectionStep::BeforeOffset);
}

void CCollectionSteps::OffsetStored() {
    recordsStored_ = false;
    Pass(CollectionStep::AfterOffset);
}

void CCollectionSteps::Pass(CollectionStep step) {
    if (wish_ && step == wish_->step && ++passed_ == wish_->count) {
        die_();
    }
}

}  // namespace Kyr::Lab::DevHost
