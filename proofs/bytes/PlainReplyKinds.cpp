// Replies whose bodies need no parser: the header by itself, the configuration, the outcome of a
// task.
#include <memory>

#include <boost/make_shared.hpp>

#include "kelcomm/KelcommChannel.h"
#include "kelcomm/KelcommChannelBuffer.h"
#include "kelcomm/messages/ExportConfiguration.h"
#include "kelcomm/messages/GetTaskStatus.h"
#include "proofs/bytes/Kind.h"
#include "proofs/bytes/Wire.h"
#include "tests/support/product/FakeKelcommClient.h"

namespace Kyr::Proofs::Bytes {

namespace {

namespace Kelcomm = Connectors::Common::Kelcomm;
namespace Messages = Kelcomm::Messages;
using Test::CFakeKelcommClient;
using Test::KelcommScript;

std::string Printed(const Input& bytes) {
    return std::string(bytes.begin(), bytes.end());
}

// ---- the header

constexpr std::uint32_t kNextValue = 7;

std::string Answered(std::uint32_t value, std::size_t size) {
    return "value " + std::to_string(value) + " in " + std::to_string(size) + " bytes";
}

Result ExpectedOfHeader(const Input& reply) {
    if (reply.size() < 12) {
        return {kShort, ""};
    }
    if (WordAt(reply, 0) != 12) {
        return {"CKelcommChannel: Reply header has wrong size", ""};
    }
    const std::uint32_t status = WordAt(reply, 4);
    switch (status) {
        case 0:
            return {"answered", Answered(WordAt(reply, 8), reply.size())};
        case 18:
            return {"answered", Answered(0, reply.size())};
        case 5:  // asked again, with more room
            return {"answered", Answered(kNextValue, 12)};
        case 14:
            return {
                "CKelcommChannel: Send request failed with 14, Command failed - Make sure that "
                "Agent runs with Administrator privileges.",
                ""};
        default:
            return {"CKelcommChannel: Send request failed with " + std::to_string(status), ""};
    }
}

Finding LookAtHeader(const Input& reply) {
    const auto script = boost::make_shared<KelcommScript>();
    script->requests.push_back({0, reply});
    script->standingRequest = {0, Word(12) + Word(0) + Word(kNextValue)};
    Kelcomm::CKelcommChannel channel(std::make_unique<CFakeKelcommClient>(script),
                                     std::make_unique<CFakeKelcommClient>(script));
    const Result got = ResultOf([&]() -> Result {
        Kelcomm::KelcommChannelBuffer request;
        request.Append("request", 7);
        Kelcomm::KelcommChannelBuffer buffer;
        const std::uint32_t value = channel.SendRequest(request, buffer);
        const bool isBehindHeader = buffer.GetReadPosition() == 12 && buffer.GetSize() >= 12;
        return {isBehindHeader ? "answered" : "not behind the header",
                Answered(value, buffer.GetSize())};
    });
    Finding finding = Compare(got, ExpectedOfHeader(reply));
    std::string errors;
    if (!channel.Ping(errors)) {
        finding.problem = "the channel is stuck: " + errors;
    }
    return finding;
}

// ---- the configuration

Finding LookAtConfiguration(const Input& reply) {
    const Result got = ResultOf([&]() -> Result {
        Messages::CExportConfigurationResponse response;
        response.Deserialize(reply);
        return {"read", response.GetConfiguration()};
    });
    const auto body = BodyOf(reply);
    return Compare(got, body ? Result{"read", Printed(*body)} : Result{kShort, ""});
}

// ---- the outcome of a task

constexpr char kBadUserData[] = "Task log: Log record has badly formated uuids in user data";

struct UserData {
    std::string text;  // as UTF-8
    bool hasSurrogates = false;
};

UserData UserDataAt(const Input& reply, std::uint64_t place) {
    UserData read;
    for (; place + 2 <= reply.size() && HalfAt(reply, static_cast<std::size_t>(place)) != 0;
         place += 2) {
        const std::uint16_t unit = HalfAt(reply, static_cast<std::size_t>(place));
        read.hasSurrogates = read.hasSurrogates || (unit >= 0xD800 && unit < 0xE000);
        if (unit < 0x80) {
            read.text += static_cast<char>(unit);
        } else if (unit < 0x800) {
            read.text += static_cast<char>(0xC0 | unit >> 6);
            read.text += static_cast<char>(0x80 | (unit & 0x3F));
        } else {
            read.text += static_cast<char>(0xE0 | unit >> 12);
            read.text += static_cast<char>(0x80 | (unit >> 6 & 0x3F));
            read.text += static_cast<char>(0x80 | (unit & 0x3F));
        }
    }
    return read;
}

std::vector<std::string> PartsOf(const std::string& text) {
    std::vector<std::string> parts(1);
    for (const char c : text) {
        if (c == ';' || c == ',' || c == ' ') {
            parts.emplace_back();
        } else {
            parts.back() += c;
        }
    }
    return parts;
}

std::string Told(const std::string& first, const std::string& second, const std::string& third,
                 std::uint64_t code, const std::string& description, int severity, int status) {
    return first + "|" + second + "|" + third + "|" + std::to_string(code) + "|" + description +
           "|" + std::to_string(severity) + "|" + std::to_string(status);
}

Result ExpectedOutcome(const Input& reply) {
    if (reply.size() < 12) {
        return {kShort, ""};
    }
    if (WordAt(reply, 8) == 0) {
        return {"no outcome", ""};
    }
    if (reply.size() < 24) {
        return {kShort, ""};
    }
    const UserData userData = UserDataAt(reply, std::uint64_t{12} + WordAt(reply, 20));
    const auto parts = PartsOf(userData.text);
    if (parts.size() != 3) {
        return {kBadUserData, ""};
    }
    // Codes and severities of the host.
    const std::uint32_t word = WordAt(reply, 16);
    return {"an outcome",
            word == 0   ? Told(parts[0], parts[2], parts[1], 0x10000000A, "", 20, 1)
            : word == 1 ? Told(parts[0], parts[2], parts[1], 0x10000000B, "", 30, 1)
                        : Told(parts[0], parts[2], parts[1], 0x10000000C, "Task failed", 40, 4)};
}

Finding LookAtOutcome(const Input& reply) {
    const Result got = ResultOf([&]() -> Result {
        Messages::CGetTaskStatusResponse response;
        response.Deserialize(reply);
        const auto records = response.GetRecords();
        if (records.empty()) {
            return {"no outcome", ""};
        }
        const auto& record = records.front();
        return {records.size() == 1 ? "an outcome" : "several outcomes",
                Told(record.firstIdentifier.uuid(), record.secondIdentifier.uuid(),
                     record.thirdIdentifier.uuid(), record.code, record.description,
                     record.severity, record.status)};
    });
    // What a broken pair of surrogates takes with it is the conversion's affair.
    if (reply.size() >= 24 && WordAt(reply, 8) != 0 &&
        UserDataAt(reply, std::uint64_t{12} + WordAt(reply, 20)).hasSurrogates) {
        const bool isOneOfTwo = got.outcome == "an outcome" || got.outcome == kBadUserData;
        return {{ClassOf(got.outcome)}, isOneOfTwo ? "" : "\"" + got.outcome + "\""};
    }
    return Compare(got, ExpectedOutcome(reply));
}

Input Units(const std::u16string& text) {
    Input bytes;
    for (const char16_t unit : text) {
        bytes = std::move(bytes) + Half(static_cast<std::uint16_t>(unit));
    }
    return bytes;
}

Input Outcome(std::uint32_t word, std::uint32_t place, const Input& userData) {
    return Reply(0, Word(0xAABBCCDD) + Word(word) + Word(place) + userData);
}

}  // namespace

std::vector<Kind> PlainReplyKinds() {
    const std::u16string identifiers =
        u"6f9619ff-8b86-4d01-b42d-00cf4fc964ff;1b4e28ba-2fa1-41d2-883f-0016d3cca427;"
        u"7d444840-9dc0-41d1-b245-5ffdce74fad2";
    return {
        {"reply header",
         true,
         {{"success", Word(12) + Word(0) + Word(4) + FromText("body")},
          {"success without value", Reply(18, {})},
          {"buffer too small", Reply(5, {})},
          {"no administrator", Reply(14, {})},
          {"refused", Reply(3, {})}},
         LookAtHeader},
        {"configuration",
         true,
         {{"text", Reply(0, FromText("<configuration a=\"1\"/>"))},
          {"none", Reply(0, {})},
          {"more than announced", Reply(0, FromText("text")) + FromText("more")}},
         LookAtConfiguration},
        {"task outcome",
         true,
         {{"done", Outcome(1, 12, Units(identifiers) + Half(0))},
          {"failed", Outcome(2, 12, Units(u"a,b c"))},
          {"text behind other bytes",
           Outcome(0, 16, Word(0) + Units(u"a;\u00e4\u20ac;c") + Half(0))},
          {"a pair of surrogates", Outcome(1, 12, Units(u"a;\U0001F600;c") + Half(0))},
          {"none", Reply(0, {})}},
         LookAtOutcome},
    };
}

}  // namespace Kyr::Proofs::Bytes
