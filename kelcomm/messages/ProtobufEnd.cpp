#include "kelcomm/messages/ProtobufEnd.h"

#include <cstdint>
#include <limits>

namespace Kyr::Connectors::Common::Kelcomm::Messages {

namespace {

// The encoding's numbers.
enum WireType : std::uint64_t {
    kVarint = 0,
    kFixed64 = 1,
    kLengthDelimited = 2,
    kStartGroup = 3,
    kEndGroup = 4,
    kFixed32 = 5,
};

constexpr int kMostVarintBytes = 10;

enum class Step { kWhole, kEndsEarly, kMalformed };

class CFields {
  public:
    explicit CFields(std::string_view bytes) : rest_(bytes) {}

    Step Walk() {
        while (!rest_.empty()) {
            if (const Step step = SkipField(); step != Step::kWhole) {
                return step;
            }
        }
        return groups_ > 0 ? Step::kEndsEarly : Step::kWhole;
    }

  private:
    Step SkipField() {
        // The lowest bits come first: they tell a tag that is none before the tag is whole.
        const auto wireType = static_cast<unsigned char>(rest_.front()) & 7u;
        if (wireType > kFixed32) {
            return Step::kMalformed;
        }
        std::uint64_t tag = 0;
        if (const Step step = ReadVarint(tag); step != Step::kWhole) {
            return step;
        }
        const std::uint64_t field = tag >> 3;
        if (field == 0 || tag > std::numeric_limits<std::uint32_t>::max()) {
            return Step::kMalformed;
        }
        return SkipValue(wireType);
    }

    Step SkipValue(unsigned wireType) {
        std::uint64_t number = 0;
        switch (wireType) {
            case kVarint:
                return ReadVarint(number);
            case kFixed64:
                return Skip(8);
            case kFixed32:
                return Skip(4);
            case kLengthDelimited: {
                const Step step = ReadVarint(number);
                return step == Step::kWhole ? Skip(number) : step;
            }
            case kStartGroup:
                ++groups_;
                return Step::kWhole;
            default:
                --groups_;
                return groups_ < 0 ? Step::kMalformed : Step::kWhole;
        }
    }

    Step ReadVarint(std::uint64_t& value) {
        for (int index = 0; index < kMostVarintBytes; ++index) {
            if (rest_.empty()) {
                return Step::kEndsEarly;
            }
            const auto byte = static_cast<unsigned char>(rest_.front());
            rest_.remove_prefix(1);
            value |= std::uint64_t{byte & 0x7Fu} << (7 * index);
            if (byte < 0x80) {
                return Step::kWhole;
            }
        }
        return Step::kMalformed;
    }

    Step Skip(std::uint64_t length) {
        // No message can be so long.
        if (length > std::uint64_t{std::numeric_limits<std::int32_t>::max()}) {
            return Step::kMalformed;
        }
        if (length > rest_.size()) {
            return Step::kEndsEarly;
        }
        rest_.remove_prefix(static_cast<std::size_t>(length));
        return Step::kWhole;
    }

    std::string_view rest_;
    std::int64_t groups_ = 0;  // that stand open
};

}  // namespace

bool EndsEarly(std::string_view payload) {
    return CFields(payload).Walk() == Step::kEndsEarly;
}

}  // namespace Kyr::Connectors::Common::Kelcomm::Messages
