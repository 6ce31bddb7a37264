#include "probe/decode/Decode.h"

#include <algorithm>
#include <iterator>
#include <stdexcept>

#include "base/LittleEndian.h"
#include "kelcomm/client/BroadcastLayout.h"
#include "kelcomm/client/KelcommConnection.h"
#include "kelcomm/client/PayloadHeader.h"
#include "kelcomm/messages/CommandHeader.h"
#include "ntapi/PortMessage.h"
#include "probe/decode/Area.h"
#include "probe/decode/FieldReader.h"
#include "probe/decode/Payload.h"
#include "probe/decode/PortMessages.h"
#include "probe/decode/Stored.h"

namespace Kyr::Probe {

namespace {

namespace Kelcomm = Connectors::Common::Kelcomm;

using Answered = std::optional<std::uint32_t>;

struct KindRow {
    const char* name;
    void (*decode)(CFieldReader&, Answered);
};

constexpr KindRow kKinds[] = {
    {"request", [](CFieldReader& reader, Answered) { DecodeRequest(reader); }},
    {"reply", DecodeReply},
    {"alpc-connection", [](CFieldReader& reader, Answered) { DecodeAlpcConnection(reader); }},
    {"alpc-request", [](CFieldReader& reader, Answered) { DecodeAlpcRequest(reader); }},
    {"alpc-reply", DecodeAlpcReply},
    {"lpc-request",
     [](CFieldReader& reader, Answered) { DecodeLpcRequest<std::uint32_t>(reader); }},
    {"lpc-reply", DecodeLpcReply<std::uint32_t>},
    {"lpc64-request",
     [](CFieldReader& reader, Answered) { DecodeLpcRequest<std::uint64_t>(reader); }},
    {"lpc64-reply", DecodeLpcReply<std::uint64_t>},
    {"policy", [](CFieldReader& reader, Answered) { DecodePolicy(reader); }},
    {"symbols", [](CFieldReader& reader, Answered) { DecodeSymbols(reader); }},
};
constexpr char kArea[] = "area";

/// REQUIRES: it is there.
std::uint32_t WordAt(std::string_view bytes, std::size_t place) {
    return Base::LoadLittleEndian<std::uint32_t>(bytes.data() + place);
}

/// REQUIRES: `place` is not behind the end.
bool HasMagicAt(std::string_view bytes, std::size_t place) {
    return bytes.substr(place, Kelcomm::kKelcommMagicSize) == Kelcomm::kKelcommMagic;
}

/// Whether the lengths of a port message say that its header has `size` bytes.
bool HasPortHeader(std::string_view bytes, std::size_t size) {
    const std::uint32_t lengths = WordAt(bytes, NtApi::kDataLengthOffset);
    const std::size_t data = lengths & 0xFFFF;
    const std::size_t whole = lengths >> 16;
    return whole == bytes.size() && whole == data + size;
}

}  // namespace

std::vector<std::string> Kinds() {
    std::vector<std::string> names = {kArea};
    for (const KindRow& row : kKinds) {
        names.emplace_back(row.name);
    }
    return names;
}

std::optional<std::string> GuessKind(std::string_view bytes) {
    if (bytes.size() < Kelcomm::kPayloadHeaderSize) {
        return std::nullopt;
    }
    if (HasMagicAt(bytes, Kelcomm::Broadcast::kMagicField)) {
        return kArea;
    }
    if (HasPortHeader(bytes, 24) && HasMagicAt(bytes, 24)) {
        return "alpc-connection";
    }
    if (HasPortHeader(bytes, 40)) {
        return (WordAt(bytes, NtApi::kTypeOffset) & 0xFF) == NtApi::kLpcReply ? "lpc64-reply"
                                                                              : "lpc64-request";
    }
    if (WordAt(bytes, 0) == Kelcomm::kPayloadHeaderSize) {
        return WordAt(bytes, 4) == Kelcomm::Messages::kRequestMarker ? "request" : "reply";
    }
    return std::nullopt;
}

Layout Decode(std::string_view bytes, const std::string& kind, Answered command) {
    Layout layout;
    layout.kind = kind;
    if (kind == kArea) {
        DecodeArea(bytes, layout);
        return layout;
    }
    const auto* const row = std::find_if(std::begin(kKinds), std::end(kKinds),
                                         [&](const KindRow& one) { return kind == one.name; });
    if (row == std::end(kKinds)) {
        throw std::invalid_argument("nothing is of the kind " + kind);
    }
    CFieldReader reader(bytes, layout);
    row->decode(reader, command);
    return layout;
}

}  // namespace Kyr::Probe
