#include "lab/simproduct/recording/Recording.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include <boost/json.hpp>

#include "lab/simproduct/requests/PortExchange.h"

namespace Kyr::Lab::SimProduct {

namespace {

namespace json = boost::json;

// The only one so far. A later one may mean something else by the same names.
constexpr std::int64_t kVersion = 1;

void Expect(bool holds, const std::string& complaint) {
    if (!holds) {
        throw std::runtime_error(complaint);
    }
}

json::value ReadDocument(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    Expect(file.good(), "cannot be read");
    const std::string text(std::istreambuf_iterator<char>(file), {});
    json::error_code error;
    json::value document = json::parse(text, error);
    Expect(!error, "is no JSON: " + error.message());
    return document;
}

const json::object& ObjectOf(const json::value& value, const char* what) {
    Expect(value.is_object(), what + std::string(" is no object"));
    return value.get_object();
}

/// Null when the member is missing, or null.
const json::value* Find(const json::object& object, const char* name) {
    const json::value* const value = object.if_contains(name);
    return value == nullptr || value->is_null() ? nullptr : value;
}

std::optional<Bytes> BytesOf(const json::object& object, const char* name) {
    const json::value* const value = Find(object, name);
    if (value == nullptr) {
        return std::nullopt;
    }
    Expect(value->is_string(), std::string(name) + " is no text");
    try {
        return FromHex(std::string(value->get_string()));
    } catch (const std::invalid_argument& problem) {
        throw std::runtime_error(std::string(name) + ": " + problem.what());
    }
}

template <typename Number>
std::optional<Number> NumberOf(const json::object& object, const char* name, const char* kind) {
    const json::value* const value = Find(object, name);
    if (value == nullptr) {
        return std::nullopt;
    }
    json::error_code error;
    const auto number = value->to_number<Number>(error);
    Expect(!error, std::string(name) + " is no " + kind);
    return number;
}

void RequireVersion(const json::object& document) {
    const json::value* const version = document.if_contains("ov-recording");
    Expect(version != nullptr, "is no recording: it has no \"ov-recording\"");
    Expect(*version == json::value(kVersion),
           "has version " + json::serialize(*version) + "; this program reads version 1");
}

/// The bytes of then; of a refusal, of which only the status is known, a header with it.
std::optional<Bytes> ReplyOf(const json::object& answer) {
    const auto refused = NumberOf<std::uint32_t>(answer, "refused", "status");
    return refused ? EncodeReply(ErrorReply(*refused)) : BytesOf(answer, "reply");
}

}  // namespace

CRecording::CRecording(const std::string& path) {
    try {
        const json::value value = ReadDocument(path);
        const json::object& document = ObjectOf(value, "the document");
        RequireVersion(document);
        build_ = NumberOf<std::int32_t>(document, "build", "number of 32 bits");
        area_ = BytesOf(document, "area").value_or(Bytes());
        const json::value* const answers = document.if_contains("answers");
        Expect(answers != nullptr && answers->is_array(), "answers are no array");
        const Base::CLock lock(mutex_);
        for (const json::value& row : answers->get_array()) {
            const json::object& answer = ObjectOf(row, "an answer");
            const std::optional<Bytes> request = BytesOf(answer, "request");
            Expect(request.has_value(), "an answer has no request");
            if (std::optional<Bytes> reply = ReplyOf(answer)) {
                answers_[*request].replies.push_back(std::move(*reply));
            }
        }
    } catch (const std::runtime_error& problem) {
        throw std::runtime_error("the recording " + path + ": " + problem.what());
    }
}

std::optional<Bytes> CRecording::AnswerTo(const Bytes& request) {
    const Base::CLock lock(mutex_);
    const auto found = answers_.find(request);
    if (found == answers_.end()) {
        return std::nullopt;
    }
    Answers& answers = found->second;
    const std::size_t at = std::min(answers.next++, answers.replies.size() - 1);
    return answers.replies[at];
}

}  // namespace Kyr::Lab::SimProduct
