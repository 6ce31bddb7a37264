#include "probe/decode/Stored.h"

#include <cstring>
#include <string>
#include <vector>

#include "connector/tasks/PolicyBlob.h"
#include "logs/SymbolTag.h"
#include "probe/decode/Protobuf.h"

namespace Kyr::Probe {

namespace {

constexpr std::size_t kUuidSize = 16;

using Tag = Common::Logs::SymbolTag;

/// False: of no kind that there is, so that nobody can tell where the next one begins.
bool DecodeValue(CFieldReader& reader, Tag tag) {
    switch (tag) {
        case Tag::kInteger:
        case Tag::kResourceId:
            if (const auto number = reader.U64("value")) {
                if (*number >> 63 != 0) {
                    reader.Explain(std::to_string(static_cast<std::int64_t>(*number)) +
                                   " with its sign");
                }
            }
            return true;
        case Tag::kTime:
            if (reader.U64("value")) {
                reader.Explain("a time in ticks");
            }
            return true;
        case Tag::kDouble:
            if (const auto bits = reader.U64("value")) {
                double number = 0;
                std::memcpy(&number, &*bits, sizeof number);
                reader.Explain("the number " + std::to_string(number));
            }
            return true;
        case Tag::kUuid:
            reader.Bytes("value", kUuidSize);
            return true;
        case Tag::kBool:
            reader.Bytes("value", 1);
            return true;
        case Tag::kString:
        case Tag::kBlob: {
            const auto length = reader.U32("length");
            const std::size_t offset = reader.At();
            const auto bytes = length ? reader.Take("value", *length) : std::nullopt;
            if (bytes) {
                reader.Note(offset, bytes->size(), "value",
                            tag == Tag::kString ? QuotedText(*bytes) : BytesText(*bytes));
            }
            return true;
        }
    }
    reader.Blame("a kind of value that does not exist");
    return false;
}

const char* NameOf(Tag tag) {
    switch (tag) {
        case Tag::kInteger:
            return "number";
        case Tag::kDouble:
            return "number with a fraction";
        case Tag::kString:
            return "text";
        case Tag::kResourceId:
            return "resource";
        case Tag::kUuid:
            return "identifier";
        case Tag::kTime:
            return "time";
        case Tag::kBool:
            return "yes or no";
        case Tag::kBlob:
            return "bytes";
    }
    return "not known";
}

}  // namespace

void DecodePolicy(CFieldReader& reader) {
    const std::string blob(reader.Rest());
    DecodeProtobuf(reader, {{1, "length when inflated", ProtobufKind::kNumber},
                            {2, "compressed policy", ProtobufKind::kBytes}});
    const auto policy = Connectors::Common::Tasks::ReadPolicyBlob(blob);
    if (policy.text) {
        reader.Note(0, blob.size(), "policy", QuotedText(*policy.text), policy.damage);
    } else {
        reader.Note(0, blob.size(), "policy", "", "larger than the product is given");
    }
}

void DecodeSymbols(CFieldReader& reader) {
    const auto count = reader.U32("number of symbols");
    // The numbers of all symbols come first, their values behind the last of them.
    std::vector<std::uint32_t> symbols;
    while (count && symbols.size() < *count) {
        const auto symbol = reader.U32("symbol");
        if (!symbol) {
            return;
        }
        symbols.push_back(*symbol);
    }
    for (const std::uint32_t symbol : symbols) {
        const auto tag = reader.U32("kind");
        if (!tag) {
            return;
        }
        reader.Explain(NameOf(Tag{*tag}) + (", of symbol " + std::to_string(symbol)));
        if (!DecodeValue(reader, Tag{*tag})) {
            return;
        }
    }
    reader.ExpectEnd();
}

}  // namespace Kyr::Probe
