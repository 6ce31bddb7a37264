#include "kelcomm/messages/ProtobufFields.h"

#include <array>
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
constexpr int kMostTagBytes = 5;
constexpr std::size_t kDeepestGroup = 100;  // the runtime reads no deeper

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
        return InsideOfGroup() ? Step::kEndsEarly : Step::kWhole;
    }

    Step SkipField() {
        contents_ = {};
        // The lowest bits come first: they tell a tag that is none before the tag is whole.
        const auto wireType = static_cast<unsigned char>(rest_.front()) & 7u;
        if (wireType > kFixed32) {
            return Step::kMalformed;
        }
        std::uint64_t tag = 0;
        if (const Step step = ReadVarint(tag, kMostTagBytes); step != Step::kWhole) {
            return step;
        }
        // As the runtime does: a tag has 32 bits, and what is above them is nothing. Where the two
        // read differently, a payload could be made whose fields are not seen here.
        field_ = static_cast<std::uint32_t>(tag) >> 3;
        return field_ == 0 ? Step::kMalformed : SkipValue(wireType);
    }

    bool IsAtEnd() const { return rest_.empty(); }
    bool InsideOfGroup() const { return depth_ > 0; }
    std::size_t Remaining() const { return rest_.size(); }
    /// Of the field that was skipped last: its number, and its contents when it has a length.
    std::uint32_t Field() const { return field_; }
    std::string_view Contents() const { return contents_; }

  private:
    Step SkipValue(unsigned wireType) {
        std::uint64_t number = 0;
        switch (wireType) {
            case kVarint:
                return ReadVarint(number, kMostVarintBytes);
            case kFixed64:
                return Skip(8);
            case kFixed32:
                return Skip(4);
            case kLengthDelimited: {
                if (const Step step = ReadVarint(number, kMostVarintBytes); step != Step::kWhole) {
                    return step;
                }
                contents_ = rest_;
                const Step step = Skip(number);
                contents_.remove_suffix(rest_.size());
                return step;
            }
            case kStartGroup:
                if (depth_ == kDeepestGroup) {
                    return Step::kMalformed;
                }
                groups_[depth_++] = field_;
                return Step::kWhole;
            default:
                return depth_ > 0 && groups_[--depth_] == field_ ? Step::kWhole : Step::kMalformed;
        }
    }

    Step ReadVarint(std::uint64_t& value, int mostBytes) {
        for (int index = 0; index < mostBytes; ++index) {
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
    // The fields of the groups that stand open; as many as `depth_` are set.
    std::array<std::uint32_t, kDeepestGroup> groups_;
    std::size_t depth_ = 0;
    std::uint32_t field_ = 0;
    std::string_view contents_;
};

constexpr std::uint32_t kRecordsField = 1;

/// How many fields `message` has, up to where it is malformed; more than `limit` need not be told.
std::size_t CountFields(std::string_view message, std::size_t limit) {
    CFields fields(message);
    std::size_t count = 0;
    while (!fields.IsAtEnd() && count <= limit && fields.SkipField() == Step::kWhole) {
        ++count;
    }
    return count;
}

}  // namespace

bool EndsEarly(std::string_view payload) {
    return CFields(payload).Walk() == Step::kEndsEarly;
}

std::string_view FirstFields(std::string_view payload, Records records, std::size_t limit) {
    // The end of a group has one byte, all others more: most payloads need not be looked over.
    if (payload.size() <= limit) {
        return payload;
    }
    CFields fields(payload);
    std::size_t left = limit;
    std::size_t length = 0;  // of what goes into the limit
    while (!fields.IsAtEnd()) {
        if (fields.SkipField() != Step::kWhole) {
            return payload;
        }
        std::size_t count = 1;
        if (records == Records::kMessages && fields.Field() == kRecordsField) {
            count += CountFields(fields.Contents(), left);
        }
        if (count > left) {
            return payload.substr(0, length);
        }
        left -= count;
        if (!fields.InsideOfGroup()) {
            length = payload.size() - fields.Remaining();
        }
    }
    return payload;
}

}  // namespace Kyr::Connectors::Common::Kelcomm::Messages
