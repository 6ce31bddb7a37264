// The steps of a collection as the host sees them, and a host that dies at one of them on request.
//
// A collection reads its offset, brings its records, and stores its new offset. Each end of these
// is a step, told by whoever lends the module the resource.
//
// Threads: any; collections run one after another.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace Kyr::Lab::DevHost {

enum class CollectionStep {
    kBeforeRequest,  // the offset is read
    kAfterReply,     // records have come
    kAfterPublish,   // they are stored
    kBeforeOffset,   // the new offset has come
    kAfterOffset     // it is stored
};

/// "<step>" or "<step>:<n>": the n-th time that a collection comes there.
struct DeathWish {
    CollectionStep step = CollectionStep::kBeforeRequest;
    std::uint64_t count = 1;
};

/// Errors: std::invalid_argument for a text that names no step; it tells which there are.
DeathWish ParseDeathWish(const std::string& text);

class CCollectionSteps {
  public:
    /// Calls `die` at that step; never without a wish.
    CCollectionSteps(std::optional<DeathWish> wish, std::function<void()> die);

    void Pass(CollectionStep step);

  private:
    const std::optional<DeathWish> wish_;
    const std::function<void()> die_;
    std::atomic<std::uint64_t> passed_{0};    // times that the wished step was passed
    std::atomic<bool> recordsStored_{false};  // of the collection that is under way
};

}  // namespace Kyr::Lab::DevHost
