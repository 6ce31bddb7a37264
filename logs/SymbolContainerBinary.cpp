// The binary form of a symbol row, as logs/README.md describes it with an example. It belongs to
// CSymbolContainer, and stands apart since nothing else of a row knows bytes.
#include <algorithm>
#include <array>
#include <cstring>
#include <ios>
#include <stdexcept>
#include <string_view>

#include "base/LittleEndian.h"
#include "logs/SymbolContainer.h"
#include "logs/SymbolTag.h"
#include "logs/SymbolText.h"
#include "logs/SymbolTime.h"

namespace Kyr::Common::Logs {

namespace {

using Tag = SymbolTag;

/// A tag and a bool.
constexpr std::size_t kSmallestEntry = 5;

static_assert(sizeof(double) == sizeof(std::uint64_t), "a double takes eight bytes");

struct Sizer {
    // Tag included: 4 bytes, 4 more for a length.
    std::uint64_t operator()(const BlobValue& value) const { return 8 + value.bytes.size(); }
    std::uint64_t operator()(const std::string& value) const { return 8 + value.size(); }
    std::uint64_t operator()(const boost::uuids::uuid&) const { return 20; }
    std::uint64_t operator()(bool) const { return 5; }
    // Whatever is not named above takes eight bytes; a new kind needs a line of its own here.
    template <typename EightBytes>
    std::uint64_t operator()(const EightBytes&) const {
        return 12;
    }
};

class CWriter {
  public:
    explicit CWriter(std::string& out) : out_(out) {}

    void U32(std::uint32_t value) { Number(value); }

    void operator()(const BlobValue& value) { Text(Tag::kBlob, value.bytes); }
    void operator()(const std::string& value) { Text(Tag::kString, value); }
    void operator()(std::int64_t value) { Eight(Tag::kInteger, static_cast<std::uint64_t>(value)); }
    void operator()(ResourceIdValue value) {
        Eight(Tag::kResourceId, static_cast<std::uint64_t>(value.id));
    }
    void operator()(const boost::posix_time::ptime& value) {
        Eight(Tag::kTime, static_cast<std::uint64_t>(ToTicks(value)));
    }
    void operator()(double value) {
        std::uint64_t bits = 0;
        std::memcpy(&bits, &value, sizeof bits);
        Eight(Tag::kDouble, bits);
    }
    void operator()(const boost::uuids::uuid& value) {
        StoreTag(Tag::kUuid);
        out_.append(value.begin(), value.end());
    }
    void operator()(bool value) {
        StoreTag(Tag::kBool);
        out_.push_back(value ? '\1' : '\0');
    }

  private:
    template <typename Integer>
    void Number(Integer value) {
        std::array<char, sizeof(Integer)> bytes;
        Base::StoreLittleEndian(bytes.data(), value);
        out_.append(bytes.data(), bytes.size());
    }
    void StoreTag(Tag tag) { Number(static_cast<std::uint32_t>(tag)); }
    void Eight(Tag tag, std::uint64_t value) {
        StoreTag(tag);
        Number(value);
    }
    void Text(Tag tag, const std::string& value) {
        StoreTag(tag);
        U32(static_cast<std::uint32_t>(value.size()));
        out_ += value;
    }

    std::string& out_;
};

/// Every length from outside is checked in Take, and nowhere else.
class CReader {
  public:
    CReader(const char* data, std::size_t length) : rest_(data, length) {}

    std::string_view Take(std::size_t length) {
        if (length > rest_.size()) {
            throw std::ios_base::failure("symbol container: unexpected end of data");
        }
        const std::string_view taken = rest_.substr(0, length);
        rest_.remove_prefix(length);
        return taken;
    }
    std::size_t Remaining() const { return rest_.size(); }
    std::uint32_t U32() { return Number<std::uint32_t>(); }
    std::uint64_t U64() { return Number<std::uint64_t>(); }
    std::string Text() { return std::string(Take(U32())); }

    SymbolValue Value(std::int32_t id) {
        switch (Tag{U32()}) {
            case Tag::kInteger:
                return static_cast<std::int64_t>(U64());
            case Tag::kDouble: {
                const std::uint64_t bits = U64();
                double value = 0;
                std::memcpy(&value, &bits, sizeof value);
                return value;
            }
            case Tag::kString:
                // A row from outside keeps the limits of one that was built here.
                return LimitText(id, Text());
            case Tag::kResourceId:
                return ResourceIdValue{static_cast<std::int64_t>(U64())};
            case Tag::kUuid: {
                boost::uuids::uuid value;
                std::memcpy(value.data, Take(value.size()).data(), value.size());
                return value;
            }
            case Tag::kTime:
                return FromTicks(static_cast<std::int64_t>(U64()));
            case Tag::kBool:
                return Take(1).front() == '\1';
            case Tag::kBlob:
                return BlobValue(Text());
        }
        // The length of an unknown value is unknown, too: there is no reading on behind it.
        throw std::runtime_error("Unimplemented type handler");
    }

  private:
    template <typename Integer>
    Integer Number() {
        return Base::LoadLittleEndian<Integer>(Take(sizeof(Integer)).data());
    }

    std::string_view rest_;
};

}  // namespace

std::uint64_t CSymbolContainer::GetBinarySize() const {
    std::uint64_t size = 4;
    for (const SymbolValue& value : values_) {
        size += 4 + std::visit(Sizer{}, value);
    }
    return size;
}

void CSymbolContainer::SerializeToBinary(std::string& out) const {
    out.clear();
    out.reserve(static_cast<std::size_t>(GetBinarySize()));
    CWriter writer(out);
    writer.U32(static_cast<std::uint32_t>(ids_.size()));
    for (const std::int32_t id : ids_) {
        writer.U32(static_cast<std::uint32_t>(id));
    }
    for (const SymbolValue& value : values_) {
        std::visit(writer, value);
    }
}

void CSymbolContainer::DeserializeFromBinary(const char* data, std::size_t length) {
    CReader reader(data, length);
    const std::uint32_t count = reader.U32();
    // The ids are read one by one: the count is the sender's word, their bytes are not.
    std::vector<std::int32_t> ids;
    for (std::uint32_t index = 0; index < count; ++index) {
        ids.push_back(static_cast<std::int32_t>(reader.U32()));
    }
    // Nor are there more values than the rest of the bytes can hold.
    Reserve(std::min(ids.size(), reader.Remaining() / kSmallestEntry));
    for (const std::int32_t id : ids) {
        // Adds to what the row holds. A failure leaves the symbols before it in the row: a symbol
        // that is there already, a tag or a text that is refused, or the end of the bytes. A locked
        // row fails with the first.
        Add(id, reader.Value(id));
    }
}

void CSymbolContainer::DeserializeFromBinary(const std::string& data) {
    DeserializeFromBinary(data.data(), data.size());
}

}  // namespace Kyr::Common::Logs
