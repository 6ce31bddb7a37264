#include "probe/decode/PortMessages.h"

#include <string>
#include <type_traits>

#include "kelcomm/client/KelcommConnection.h"
#include "kelcomm/ports/AlpcMessages.h"
#include "ntapi/PortMessage.h"
#include "probe/ProductNumbers.h"
#include "probe/decode/Payload.h"

namespace Kyr::Probe {

namespace {

namespace Kelcomm = Connectors::Common::Kelcomm;

/// A number as wide as a pointer of the layout.
template <typename Word>
std::optional<std::uint64_t> TakeWord(CFieldReader& reader, const std::string& name) {
    if constexpr (std::is_same_v<Word, std::uint64_t>) {
        return reader.U64(name);
    } else {
        return reader.U32(name);
    }
}

template <typename Word>
void SkipPadding(CFieldReader& reader) {
    if (std::is_same_v<Word, std::uint64_t>) {
        reader.Take("padding", 4);
    }
}

const char* KindOf(std::uint16_t type) {
    switch (type & NtApi::kMessageKindMask) {
        case 0:
            return "not sent yet";
        case NtApi::kLpcRequest:
            return "request";
        case NtApi::kLpcReply:
            return "reply";
        case NtApi::kLpcDatagram:
            return "datagram";
        case NtApi::kLpcLostReply:
            return "lost reply";
        case NtApi::kLpcPortClosed:
            return "port closed";
        case NtApi::kLpcClientDied:
            return "client died";
        case NtApi::kLpcConnectionRequest:
            return "connection request";
        case NtApi::kLpcConnectionReply:
            return "connection reply";
        default:
            return "not known";
    }
}

/// The header of the system; gives the place of the data entries, 0 for none.
template <typename Word>
std::uint16_t DecodeHead(CFieldReader& reader) {
    constexpr std::size_t kSize = NtApi::PortMessageLayout<Word>::kHeaderSize;
    const auto dataLength = reader.U16("length of the data");
    const auto totalLength = reader.U16("length of the message");
    if (totalLength && *totalLength != *dataLength + kSize) {
        reader.Blame("must be " + std::to_string(*dataLength + kSize));
    }
    if (const auto type = reader.U16("type")) {
        reader.Explain(KindOf(*type));
        if ((*type & NtApi::kLpcContinuationRequired) != 0) {
            reader.Explain("to be sent back");
        }
    }
    const auto dataInfo = reader.U16("place of the data entries");
    TakeWord<Word>(reader, "process");
    TakeWord<Word>(reader, "thread");
    reader.U32("message");
    SkipPadding<Word>(reader);
    TakeWord<Word>(reader, "size of the view");
    return dataInfo.value_or(0);
}

std::optional<std::uint32_t> DecodeCommand(CFieldReader& reader) {
    const auto command = reader.U32("port command");
    if (command) {
        reader.Explain(*command == kPingCommand      ? "ping"
                       : *command == kRequestCommand ? "request"
                                                     : "not known");
    }
    return command;
}

void DecodeInside(CFieldReader& reader, std::optional<std::uint32_t> portCommand) {
    if (portCommand == kRequestCommand) {
        DecodeRequest(reader);
    } else if (reader.Remaining() != 0) {
        reader.Bytes("payload", reader.Remaining());
    }
}

void DecodeAnswer(CFieldReader& reader, std::optional<std::uint32_t> command) {
    if (const auto result = reader.U32("result code")) {
        reader.Explain(*result == 0 ? "success" : "failure");
    }
    const auto length = reader.U32("length of the reply");
    if (!length || *length == 0) {
        return;
    }
    if (reader.Remaining() == 0) {
        reader.Explain("elsewhere: in a view, or written into the buffer of who asked");
        return;
    }
    if (*length > reader.Remaining()) {
        reader.Blame("only " + std::to_string(reader.Remaining()) + " bytes are there");
    }
    reader.EndAfter(*length);
    DecodeReply(reader, command);
}

template <typename Word>
void DecodeEntry(CFieldReader& reader, const std::string& what) {
    TakeWord<Word>(reader, "address of the " + what);
    reader.U32(what == "request" ? "length of the request" : "capacity of the reply");
    SkipPadding<Word>(reader);
}

}  // namespace

void DecodeAlpcRequest(CFieldReader& reader) {
    DecodeHead<std::uint32_t>(reader);
    const auto command = DecodeCommand(reader);
    reader.U32("the reply may grow");
    const auto length = reader.U32("length of the request");
    reader.U32("capacity of the reply");
    if (!length || !reader.IsGood()) {
        return;
    }
    if (*length > Kelcomm::Alpc::kMaxInlinePayload) {
        reader.Note(reader.At(), 0, "payload", "elsewhere: in the view that goes with the message");
        reader.ExpectEnd();
        return;
    }
    if (*length != reader.Remaining()) {
        reader.Note(reader.At(), reader.Remaining(), "payload", BytesText(reader.Rest()),
                    "must be " + std::to_string(*length) + " bytes, are " +
                        std::to_string(reader.Remaining()));
        return;
    }
    DecodeInside(reader, command);
}

void DecodeAlpcReply(CFieldReader& reader, std::optional<std::uint32_t> command) {
    DecodeHead<std::uint32_t>(reader);
    DecodeAnswer(reader, command);
}

void DecodeAlpcConnection(CFieldReader& reader) {
    DecodeHead<std::uint32_t>(reader);
    const std::size_t offset = reader.At();
    if (const auto magic = reader.Take("magic", Kelcomm::kKelcommMagicSize)) {
        reader.Note(offset, magic->size(), "magic", QuotedText(*magic),
                    *magic == std::string_view(Kelcomm::kKelcommMagic, Kelcomm::kKelcommMagicSize)
                        ? ""
                        : "must be \"KelComm \"");
    }
    reader.Expect32("version", Kelcomm::kKelcommVersion);
    reader.U32("longest reply in a message");
}

template <typename Word>
void DecodeLpcRequest(CFieldReader& reader) {
    const std::size_t dataInfo = DecodeHead<Word>(reader);
    const auto command = DecodeCommand(reader);
    if (const auto flags = reader.U32("flags")) {
        reader.Explain((*flags & 1) != 0 ? "no reply is wanted" : "a reply is wanted");
    }
    reader.U32("capacity of the reply");
    if (!reader.IsGood()) {
        return;
    }
    if (dataInfo == 0) {
        DecodeInside(reader, command);
        return;
    }
    if (dataInfo != reader.At()) {
        reader.Note(dataInfo, 0, "data entries", "",
                    "must stand at " + std::to_string(reader.At()));
        return;
    }
    reader.Expect32("data entries", 2);
    SkipPadding<Word>(reader);
    DecodeEntry<Word>(reader, "request");
    DecodeEntry<Word>(reader, "reply");
    if (reader.Remaining() != 0) {
        DecodeInside(reader, command);
    }
}

template <typename Word>
void DecodeLpcReply(CFieldReader& reader, std::optional<std::uint32_t> command) {
    DecodeHead<Word>(reader);
    DecodeAnswer(reader, command);
}

template void DecodeLpcRequest<std::uint32_t>(CFieldReader&);
template void DecodeLpcRequest<std::uint64_t>(CFieldReader&);
template void DecodeLpcReply<std::uint32_t>(CFieldReader&, std::optional<std::uint32_t>);
template void DecodeLpcReply<std::uint64_t>(CFieldReader&, std::optional<std::uint32_t>);

}  // namespace Kyr::Probe
