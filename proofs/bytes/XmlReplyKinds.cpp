// Replies whose bodies are XML: protection status, and the two of disk encryption.
//
// What the header decides is known exactly, and so is what a body gives that is as it was. Of other
// bodies it is only known what any result must keep to.
#include <algorithm>

#include "kelcomm/messages/EncryptionRecoveryDataResponse.h"
#include "kelcomm/messages/EncryptionStorageStatusResponse.h"
#include "kelcomm/messages/GetStatus.h"
#include "proofs/bytes/Kind.h"
#include "proofs/bytes/Wire.h"

namespace Kyr::Proofs::Bytes {

namespace {

namespace Messages = Connectors::Common::Kelcomm::Messages;
using Connectors::Common::CProtectionStatusRecord;

constexpr char kDamaged[] = "damaged: ";  // a result that no body can have

std::string Told(const std::optional<std::uint64_t>& number) {
    return number ? std::to_string(*number) + ' ' : "- ";
}

std::size_t CountOf(const Input& body, const std::string& text) {
    std::size_t count = 0;
    for (auto at = body.begin(); at != body.end(); ++at) {
        at = std::search(at, body.end(), text.begin(), text.end());
        if (at == body.end()) {
            break;
        }
        ++count;
    }
    return count;
}

// Severities and texts of the host.
bool MeansWhatItSays(const CProtectionStatusRecord& record) {
    switch (record.status) {
        case 0:
            return record.severity == 1 && record.statusTextId == 0x071000000000021E;
        case 1:
            return record.severity == 3 && record.statusTextId == 0x071000000000021F;
        case 2:
            return record.severity == 5 && record.statusTextId == 0x0710000000000220;
        case 0xFFFFFFFF:
            return !record.severity && !record.statusTextId && !record.categoryId &&
                   !record.statusId && !record.descriptionId;
        default:
            return false;
    }
}

Result ReadStatus(const Input& reply) {
    Messages::CGetStatusResponse response;
    response.Deserialize(reply);
    Result result{"records", ""};
    const Input body = BodyOf(reply).value_or(Input());
    if (FromText(response.GetRawContent()) != body) {
        return {kDamaged + std::string("another text is kept than came"), ""};
    }
    if (response.GetRecords().size() > CountOf(body, "RECORD")) {
        return {kDamaged + std::string("more records than the text has"), ""};
    }
    for (const CProtectionStatusRecord& record : response.GetRecords()) {
        if (!MeansWhatItSays(record)) {
            return {kDamaged + std::string("a record that contradicts itself"), ""};
        }
        result.detail += std::to_string(record.status) + ' ' + Told(record.statusTextId) +
                         Told(record.categoryId) + Told(record.statusId) +
                         Told(record.descriptionId) + ';';
    }
    return result;
}

Result ReadRecovery(const Input& reply) {
    Messages::CGetEncryptionRecoveryDataResponse response;
    response.Deserialize(reply);
    Result result{"recovery data", ""};
    const auto& data = response.GetRecoveryData();
    const Input body = BodyOf(reply).value_or(Input());
    if (data.passwords.size() + data.items.size() > CountOf(body, "RECOVERY_")) {
        return {kDamaged + std::string("more records than the text has"), ""};
    }
    for (const auto& password : data.passwords) {
        result.detail += password.uid + ',' + password.deviceId + ',' + password.index + ';';
    }
    for (const auto& item : data.items) {
        result.detail += item.uid + ',' + item.deviceId + ',' + item.data + ';';
    }
    return result;
}

Result ReadStorage(const Input& reply) {
    Messages::CGetEncryptionStorageStatusResponse response;
    response.Deserialize(reply);
    Result result{"storage status", ""};
    const auto& status = response.GetRecords();
    const Input body = BodyOf(reply).value_or(Input());
    if (FromText(response.GetRawContent()) != body) {
        return {kDamaged + std::string("another text is kept than came"), ""};
    }
    result.detail = std::string(status.tpmUsed ? "tpm " : "") + status.workstationId + ';';
    std::size_t elements = 0;
    for (const auto& disk : status.disks) {
        ++elements;
        result.detail += disk.deviceId + (disk.opalSupported ? " opal" : "") +
                         (disk.opalUsed ? " used " : " ") + disk.partitioningScheme + ':';
        for (const auto& partition : disk.partitions) {
            ++elements;
            result.detail += partition.deviceId + ',' + partition.guid.uuid() + ',' +
                             partition.description + ',' +
                             std::to_string(partition.encryptionStatus) + ',' +
                             std::to_string(partition.encryptionProgress) + ',' +
                             partition.fileSystem + (partition.systemPartition ? ",system," : ",") +
                             std::to_string(partition.size) + ';';
        }
    }
    if (elements > CountOf(body, "DISK") + CountOf(body, "PARTITION")) {
        return {kDamaged + std::string("more records than the text has"), ""};
    }
    return result;
}

using Read = Result (*)(const Input&);

/// A sample and what is to be read of it.
struct XmlSample {
    const char* name;
    std::string body;
    Result expected;
    std::size_t reach = static_cast<std::size_t>(-1);
};

Finding Look(Read read, const std::vector<XmlSample>& samples, const Input& reply) {
    const Result got = ResultOf([&] { return read(reply); });
    const auto body = BodyOf(reply);
    if (!body) {
        return Compare(got, {kShort, ""});
    }
    if (body->empty()) {  // a text that has no section
        return Compare(got,
                       {got.outcome.find("No such node") == 0 ? got.outcome : "No such node", ""});
    }
    for (const XmlSample& sample : samples) {
        if (std::equal(body->begin(), body->end(), sample.body.begin(), sample.body.end())) {
            return Compare(got, sample.expected);
        }
    }
    return {{ClassOf(got.outcome)}, got.outcome.find(kDamaged) == 0 ? got.outcome : ""};
}

Kind XmlKind(const char* name, Read read, const std::vector<XmlSample>& samples) {
    Kind kind{
        name, true, {}, [read, samples](const Input& reply) { return Look(read, samples, reply); }};
    for (const XmlSample& sample : samples) {
        kind.samples.push_back({sample.name, Reply(0, FromText(sample.body)), sample.reach});
    }
    return kind;
}

std::string InStatus(const std::string& records) {
    return "<TULK><SECTION><STATUS>" + records + "</STATUS></SECTION></TULK>";
}

std::string InResponse(const std::string& content) {
    return "<TULK><MESSAGE><RESPONSE>" + content + "</RESPONSE></MESSAGE></TULK>";
}

/// A megabyte of it.
std::string Many(const std::string& text) {
    std::string all;
    while (all.size() < (1u << 20)) {
        all += text;
    }
    return all;
}

/// So many elements inside each other, the section's three included.
std::string Deep(int depth) {
    std::string inside;
    for (int i = 3; i < depth; ++i) {
        inside = "<a>" + inside + "</>";
    }
    return InStatus(inside);
}

}  // namespace

std::vector<Kind> XmlReplyKinds() {
    const std::string partition =
        "<PARTITION DEVICE_ID=\"p\" GUID=\"\" DESCRIPTION=\"\" ENCRYPTION_STATUS=\"-2\" "
        "ENCRYPTION_PROGESS=\"100\" FILESYSTEM=\"F\" SYSTEM=\"True\" SIZE=\"512\"/>";
    return {
        XmlKind("protection status", ReadStatus,
                {{"records",
                  InStatus("<RECORD STATUS=\"2\" CATEGORY_RES_ID=\"1b\" STATUS_RES_ID=\"1\" "
                           "DESCRIPTION_RES_ID=\"2\"/><RECORD STATUS=\"FFFFFFFF\"/>"),
                  {"records", "2 508906757892866592 27 1 2 ;4294967295 - - - - ;"}},
                 {"declaration, comment, text",
                  "<?xml version='1.0'?><!-- c --><!DOCTYPE a [<!b>]>" +
                      InStatus("<![CDATA[d]]>&lt;<RECORD STATUS='0' CATEGORY_RES_ID='&#x31;' "
                               "STATUS_RES_ID=''></RECORD>"),
                  {"records", "0 508906757892866590 1 0 - ;"}},
                 {"as deep as it may be", Deep(256), {"records", ""}},
                 {"one deeper", Deep(257), {"<unspecified file>: elements nest too deep", ""}, 60},
                 {"a megabyte of elements", InStatus(Many("<a>b</>")), {"records", ""}, 0},
                 {"more elements in it",
                  InStatus(Many("<a/>")),
                  {"<unspecified file>: too many elements", ""},
                  0},
                 {"a megabyte of attributes",
                  InStatus("<a " + Many("b='' ") + "/>"),
                  {"records", ""},
                  0}}),
        XmlKind("recovery data", ReadRecovery,
                {{"both",
                  InResponse("<RECOVERY_PASSWORD UID=\"u\" DEVICEID=\"d\" INDEX=\"1\"/>"
                             "<RECOVERY_DATA UID=\"v\" DEVICEID=\"e\">text</RECOVERY_DATA>"),
                  {"recovery data", "u,d,1;v,e,text;"}}}),
        XmlKind(
            "storage status", ReadStorage,
            {{"a disk",
              InResponse("<SYSTEM TPM_USED=\"Yes\" WORKSTATION_ID=\"w\"/><DISK "
                         "DEVICE_ID=\"d\" OPAL_SUPPORT=\"1\" OPAL_USED=\"no\" "
                         "PARTITIONING_SCHEME=\"G\">" +
                         partition + "</DISK>"),
              {"storage status",
               "tpm w;d opal G:p,00000000-0000-0000-0000-000000000000,,-2,100,F,system,512;"}}}),
    };
}

}  // namespace Kyr::Proofs::Bytes
