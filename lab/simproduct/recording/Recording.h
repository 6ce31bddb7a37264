// What an endpoint's product once answered, byte for byte, from a file that `ovprobe record` wrote
// (docs/recording.md), to be answered again.
//
// Threads: AnswerTo by any thread; everything else is constant.
// Errors: std::runtime_error from the constructor; it names the file and what is wrong with it.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "base/Mutex.h"
#include "lab/simproduct/requests/Bytes.h"

namespace Kyr::Lab::SimProduct {

class CRecording {
  public:
    explicit CRecording(const std::string& path);

    /// Of the product that was installed; nothing when none was.
    std::optional<std::int32_t> Build() const { return build_; }
    /// The broadcast area; empty when there was none.
    const Bytes& Area() const { return area_; }

    /// The next answer to a request command with this payload, and the last one again and again.
    /// Nothing when it was not asked, or its answer was left out.
    std::optional<Bytes> AnswerTo(const Bytes& request);

  private:
    struct Answers {
        std::vector<Bytes> replies;
        std::size_t next = 0;
    };

    std::optional<std::int32_t> build_;
    Bytes area_;
    Base::CMutex mutex_;
    std::map<Bytes, Answers> answers_ KYR_GUARDED_BY(mutex_);
};

}  // namespace Kyr::Lab::SimProduct
