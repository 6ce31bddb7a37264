#include "kelcomm/messages/GetStatus.h"

#include <algorithm>
#include <stdexcept>

#include "host/Catalogue.h"
#include "kelcomm/messages/CommandHeader.h"
#include "kelcomm/messages/ReplyReader.h"
#include "kelcomm/messages/XmlPayload.h"

namespace Kyr::Connectors::Common::Kelcomm::Messages {

namespace Protection = Kyr::Common::Catalogue::Protection;

namespace {

struct StatusMeaning {
    std::uint32_t status;
    std::int64_t severity;
    std::uint64_t textId;
};

constexpr StatusMeaning kMeanings[] = {
    {0, Protection::kFineSeverity, Protection::kFineText},
    {1, Protection::kWarningSeverity, Protection::kWarningText},
    {2, Protection::kProblemSeverity, Protection::kProblemText},
};

const StatusMeaning& MeaningOf(std::uint32_t status) {
    const auto* meaning = std::find_if(
        std::begin(kMeanings), std::end(kMeanings),
        [status](const StatusMeaning& candidate) { return candidate.status == status; });
    if (meaning == std::end(kMeanings)) {
        throw std::runtime_error("Unknown protection status");
    }
    return *meaning;
}

std::uint64_t ReadResourceId(CHexReader& numbers, const std::string& text) {
    return static_cast<std::uint64_t>(numbers.Read64(text));
}

CProtectionStatusRecord ReadRecord(CHexReader& numbers,
                                   const boost::property_tree::ptree& element) {
    CProtectionStatusRecord record;
    record.status = numbers.Read32(ReadAttribute(element, "STATUS"));
    // Its other attributes are not read, and need not be there.
    if (record.status == CProtectionStatusRecord::kNotAvailable) {
        return record;
    }
    const StatusMeaning& meaning = MeaningOf(record.status);
    record.severity = meaning.severity;
    record.statusTextId = meaning.textId;
    record.categoryId = ReadResourceId(numbers, ReadAttribute(element, "CATEGORY_RES_ID"));
    record.statusId = ReadResourceId(numbers, ReadAttribute(element, "STATUS_RES_ID"));
    if (const auto description = FindAttribute(element, "DESCRIPTION_RES_ID")) {
        record.descriptionId = ReadResourceId(numbers, *description);
    }
    return record;
}

}  // namespace

std::vector<unsigned char> CGetStatusRequest::Serialize() const {
    return MakeRequest(Command::GetStatus);
}

void CGetStatusResponse::Deserialize(const std::vector<unsigned char>& reply) {
    CReplyReader reader(reply);
    // An empty payload is empty text: it parses, and lacks the section that is asked for below.
    if (reader.GetPayloadLength() != 0) {
        rawContent_ = reader.ReadPayload();
    }
    const auto tree = ParseXml(rawContent_);
    CHexReader numbers;
    for (const auto& [name, element] : tree.get_child("TULK.SECTION.STATUS")) {
        if (name == "RECORD") {
            records_.push_back(ReadRecord(numbers, element));
        }
    }
}

}  // namespace Kyr::Connectors::Common::Kelcomm::Messages
