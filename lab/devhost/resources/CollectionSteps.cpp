#include "lab/devhost/resources/CollectionSteps.h"

#include <utility>

#include "lab/common/CommandWords.h"

namespace Kyr::Lab::DevHost {

DeathWish ParseDeathWish(const std::string& text) {
    static const std::vector<std::string> kNames{"before-request", "after-reply", "after-publish",
                                                 "before-offset", "after-offset"};
    const std::size_t colon = text.find(':');
    DeathWish wish;
    wish.step = static_cast<CollectionStep>(PlaceOf(text.substr(0, colon), kNames, "step"));
    wish.count = colon == std::string::npos ? 1 : ParseNumber(text.substr(colon + 1));
    return wish;
}

CCollectionSteps::CCollectionSteps(std::optional<DeathWish> wish, std::function<void()> die)
    : wish_(wish), die_(std::move(die)) {}

void CCollectionSteps::Pass(CollectionStep step) {
    if (step == CollectionStep::kBeforeRequest && recordsStored_) {
        return;  // the offset is read once more behind the records, to add to it
    }
    if (step == CollectionStep::kAfterPublish) {
        recordsStored_ = true;
    } else if (step == CollectionStep::kAfterOffset) {
        recordsStored_ = false;
    }
    if (wish_ && step == wish_->step && ++passed_ == wish_->count) {
        die_();
    }
}

}  // namespace Kyr::Lab::DevHost
