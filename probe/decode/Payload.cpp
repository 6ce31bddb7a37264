#include "probe/decode/Payload.h"

#include <algorithm>
#include <charconv>
#include <exception>
#include <iterator>

#include <boost/locale/encoding_utf.hpp>

#include "base/LittleEndian.h"
#include "kelcomm/client/PayloadHeader.h"
#include "kelcomm/messages/CommandHeader.h"
#include "kelcomm/messages/XmlPayload.h"
#include "probe/ProductNumbers.h"
#include "probe/decode/Protobuf.h"

namespace Kyr::Probe {

namespace {

namespace Messages = Connectors::Common::Kelcomm::Messages;
using Connectors::Common::Kelcomm::kPayloadHeaderSize;
using Messages::Command;

constexpr std::uint32_t kClientIdTag = 0x104;
constexpr std::uint32_t kAgentIdTag = 0x100002;

void DecodeXml(CFieldReader& reader) {
    const std::size_t offset = reader.At();
    const auto text = reader.Take("text", reader.Remaining());
    if (!text || text->empty()) {
        return;
    }
    reader.Note(offset, text->size(), "text", QuotedText(*text));
    try {
        Messages::ParseXml(std::string(*text));
    } catch (const std::exception& problem) {
        reader.Blame(problem.what());
    }
}

void DecodeText(CFieldReader& reader) {
    const std::size_t offset = reader.At();
    const auto text = reader.Take("text", reader.Remaining());
    if (text && !text->empty()) {
        reader.Note(offset, text->size(), "text", QuotedText(*text));
    }
}

void DecodeNothing(CFieldReader& reader) {
    reader.ExpectEnd();
}

void DecodeUnread(CFieldReader& reader) {
    if (reader.Remaining() != 0) {
        reader.Bytes("not read", reader.Remaining());
    }
}

void DecodeIdentity(CFieldReader& reader) {
    while (reader.Remaining() != 0) {
        const auto tag = reader.U32("tag");
        if (tag) {
            reader.Explain(*tag == kClientIdTag  ? "kind of client"
                           : *tag == kAgentIdTag ? "identifier of the agent"
                                                 : "not known");
        }
        const auto length = reader.U32("length");
        if (!length) {
            return;
        }
        const std::size_t offset = reader.At();
        const auto value = reader.Take("value", *length);
        if (value) {
            reader.Note(offset, value->size(), "value",
                        *tag == kAgentIdTag ? QuotedText(*value) : BytesText(*value));
        }
    }
}

/// The UTF-16 units of `bytes` up to a zero; an odd last byte is none.
std::u16string TakeUnits(std::string_view bytes) {
    std::u16string units;
    for (std::size_t at = 0; at + 1 < bytes.size(); at += 2) {
        const char16_t unit = Base::LoadLittleEndian<std::uint16_t>(bytes.data() + at);
        if (unit == 0) {
            break;
        }
        units.push_back(unit);
    }
    return units;
}

void DecodeTaskStatus(CFieldReader& reader) {
    const std::size_t begin = reader.At();
    const std::string_view record = reader.Rest();
    reader.U32("not read");
    if (const auto status = reader.U32("status")) {
        reader.Explain(*status <= 1 ? "success" : "failure");
    }
    const auto place = reader.U32("place of the user data");
    if (!place) {
        return;
    }
    if (*place > record.size()) {
        reader.Blame("outside of the record: the user data are empty");
        return;
    }
    // As the connector reads them, which leaves out what has no partner.
    const std::u16string units = TakeUnits(record.substr(*place));
    const std::string text = boost::locale::conv::utf_to_utf<char>(units);
    reader.Note(begin + *place, 2 * units.size(), "user data", QuotedText(text));
    const auto parts = 1 + std::count_if(text.begin(), text.end(), [](char one) {
                           return one == ';' || one == ',' || one == ' ';
                       });
    if (parts != 3) {
        reader.Blame("must be three identifiers, are " + std::to_string(parts));
    }
}

void DecodeOffset(CFieldReader& reader) {
    DecodeProtobuf(reader, {{1, "offset", ProtobufKind::kNumber}});
}

void DecodeRecords(CFieldReader& reader) {
    DecodeProtobuf(reader,
                   {{1, "record", ProtobufKind::kText}, {2, "result code", ProtobufKind::kNumber}});
}

void DecodeActions(CFieldReader& reader) {
    DecodeProtobuf(
        reader, {{1, "action", ProtobufKind::kMessage}, {2, "result code", ProtobufKind::kNumber}});
}

struct CommandRow {
    Command command;
    const char* name;
    void (*request)(CFieldReader&);
    void (*reply)(CFieldReader&);
};

constexpr CommandRow kCommands[] = {
    {Command::Xml, "xml", DecodeXml, DecodeUnread},
    {Command::GetStatus, "get-status", DecodeNothing, DecodeXml},
    {Command::ImportConfiguration, "import", DecodeText, DecodeUnread},
    {Command::ExportConfiguration, "export", DecodeNothing, DecodeText},
    {Command::GetTaskStatus, "get-task-status", DecodeNothing, DecodeTaskStatus},
    {Command::SendAgentUUID, "send-agent-uuid", DecodeIdentity, DecodeUnread},
    {Command::GetEcsIndicatorLogs, "get-indicators", DecodeOffset, DecodeRecords},
    {Command::GetRemediationActions, "get-actions", DecodeOffset, DecodeActions},
    {Command::GetEcsTelemetryLogs, "get-telemetry", DecodeOffset, DecodeRecords},
};

const CommandRow* FindRow(std::uint32_t command) {
    const auto* const row = std::find_if(
        std::begin(kCommands), std::end(kCommands),
        [&](const CommandRow& one) { return static_cast<std::uint32_t>(one.command) == command; });
    return row == std::end(kCommands) ? nullptr : row;
}

const char* MeaningOfStatus(std::uint32_t status) {
    switch (status) {
        case kSuccessStatus:
            return "success";
        case kReplyTooSmallStatus:
            return "reply buffer too small";
        case kNotAnAdministratorStatus:
            return kNotAnAdministrator;
        case kNoValueStatus:
            return "success without a value";
        default:
            return "refused";
    }
}

}  // namespace

std::optional<std::uint32_t> CommandOf(const std::string& text) {
    for (const CommandRow& row : kCommands) {
        if (text == row.name) {
            return static_cast<std::uint32_t>(row.command);
        }
    }
    const bool hexadecimal = text.compare(0, 2, "0x") == 0;
    const char* const begin = text.data() + (hexadecimal ? 2 : 0);
    const char* const end = text.data() + text.size();
    std::uint32_t number = 0;
    const auto [stop, error] = std::from_chars(begin, end, number, hexadecimal ? 16 : 10);
    return error == std::errc() && stop == end ? std::optional(number) : std::nullopt;
}

void DecodeRequest(CFieldReader& reader) {
    reader.Expect32("size of the header", kPayloadHeaderSize);
    reader.Expect32("marker", Messages::kRequestMarker);
    const auto command = reader.U32("command");
    if (!command) {
        return;
    }
    const CommandRow* const row = FindRow(*command);
    if (row == nullptr) {
        reader.Blame("not a command of the product");
        DecodeUnread(reader);
        return;
    }
    reader.Explain(row->name);
    row->request(reader);
}

void DecodeReply(CFieldReader& reader, std::optional<std::uint32_t> command) {
    reader.Expect32("size of the header", kPayloadHeaderSize);
    if (const auto status = reader.U32("status")) {
        reader.Explain(MeaningOfStatus(*status));
        if (*status != 0 && *status != 18) {
            reader.Blame("the product refuses");
        }
    }
    const auto length = reader.U32("length of the body");
    if (!length) {
        return;
    }
    if (*length > reader.Remaining()) {
        reader.Blame("only " + std::to_string(reader.Remaining()) + " bytes are there");
    }
    const CommandRow* const row = command ? FindRow(*command) : nullptr;
    // A task status has a fixed layout, which the connector reads whatever length is told; only by
    // a length of 0 no outcome is there.
    if (row == nullptr || row->command != Command::GetTaskStatus || *length == 0) {
        reader.EndAfter(*length);
    }
    if (row != nullptr && reader.Remaining() != 0) {
        row->reply(reader);
    } else {
        DecodeText(reader);
    }
}

}  // namespace Kyr::Probe
