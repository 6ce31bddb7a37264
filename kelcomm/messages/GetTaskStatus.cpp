#include "kelcomm/messages/GetTaskStatus.h"

#include <stdexcept>
#include <string>
#include <utility>

#include <boost/locale/encoding_utf.hpp>

#include "host/Catalogue.h"
#include "kelcomm/messages/CommandHeader.h"
#include "kelcomm/messages/ReplyReader.h"

namespace Kyr::Connectors::Common::Kelcomm::Messages {

namespace Outcome = Kyr::Common::Catalogue::Task;

namespace {

/// In the user data of a task: those of its message.
constexpr std::size_t kIdentifiers = 3;

/// UTF-16 units up to a zero or the reply's end, as UTF-8. An odd last byte is no unit.
std::string ReadUserData(CReplyReader& reader) {
    std::u16string units;
    while (reader.HasRemaining(sizeof(char16_t))) {
        const char16_t unit = reader.ReadU16();
        if (unit == 0) {
            break;
        }
        units.push_back(unit);
    }
    return boost::locale::conv::utf_to_utf<char>(units);
}

std::vector<std::string> SplitUserData(const std::string& userData) {
    std::vector<std::string> parts;
    std::size_t begin = 0;
    // Not beyond the fourth, which is one too many: each takes many times what its separator does.
    while (begin != std::string::npos && parts.size() <= kIdentifiers) {
        const std::size_t end = userData.find_first_of(";, ", begin);
        parts.push_back(userData.substr(begin, end - begin));
        begin = end == std::string::npos ? end : end + 1;
    }
    if (parts.size() != kIdentifiers) {
        // The spelling is the product family's own; log readers match on it.
        throw std::runtime_error("Task log: Log record has badly formated uuids in user data");
    }
    return parts;
}

void SetOutcome(CTaskStatusRecord& record, std::uint32_t statusWord) {
    switch (statusWord) {
        case 0:
            record.code = Outcome::kWarningText;
            record.severity = Outcome::kWarningSeverity;
            record.status = Outcome::kNotFailed;
            break;
        case 1:
            record.code = Outcome::kDoneText;
            record.severity = Outcome::kInformationSeverity;
            record.status = Outcome::kNotFailed;
            break;
        default:
            record.code = Outcome::kFailedText;
            record.description = "Task failed";
            record.severity = Outcome::kErrorSeverity;
            record.status = Outcome::kFailed;
            break;
    }
}

}  // namespace

std::vector<unsigned char> CGetTaskStatusRequest::Serialize() const {
    return MakeRequest(Command::GetTaskStatus);
}

void CGetTaskStatusResponse::Deserialize(const std::vector<unsigned char>& reply) {
    CReplyReader reader(reply);
    // No outcome waits.
    if (reader.GetPayloadLength() == 0) {
        return;
    }
    reader.ReadU32();  // known to the product only
    const std::uint32_t statusWord = reader.ReadU32();
    // The offset is the product's word, too: behind the reply's end there is no text.
    reader.MoveTo(reader.ReadU32());
    const std::vector<std::string> parts = SplitUserData(ReadUserData(reader));

    // The second and the third part change places: the product sends them in the order of the
    // request's USERDATA, outcome events carry the message's first, third and second identifier.
    CTaskStatusRecord record;
    record.firstIdentifier.set_uuid(parts[0]);
    record.secondIdentifier.set_uuid(parts[2]);
    record.thirdIdentifier.set_uuid(parts[1]);
    SetOutcome(record, statusWord);
    records_.push_back(std::move(record));
}

}  // namespace Kyr::Connectors::Common::Kelcomm::Messages
