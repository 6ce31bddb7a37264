#include "lab/simproduct/recording/Recording.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include <boost/json.hpp>

#include "lab/simproduct/requests/Answer.h"

namespace Kyr::Lab::SimProduct {

namespace {

namespace json = boost::json;

// The only one so far. A later one may mean something else by the same names.
constexpr std::int64_t kVersion = 1;

json::value ReadDocument(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        throw std::runtime_error("cannot be read");
    }
    const std::string text(std::istreambuf_iterator<char>(file), {});
    json::error_code error;
    json::value document = json::parse(text, error);
    if (error) {
        throw std::runtime_error("is no JSON: " + error.message());
    }
    return document;
}

/// The bytes of a member that may be missing or null.
std::optional<Bytes> BytesOf(const json::object& object, const char* name) {
    const json::value* const value = object.if_contains(name);
    if (value == nullptr || value->is_null()) {
        return std::nullopt;
    }
    if (!value->is_string()) {
        throw std::runtime_error(std::string(name) + " is no text");
    }
    try {
        return FromHex(std::string(value->get_string()));
    } catch (const std::invalid_argument& problem) {
        throw std::runtime_error(std::string(name) + ": " + problem.what());
    }
}

const json::object& ObjectOf(const json::value& value, const std::string& what) {
    if (!value.is_object()) {
        throw std::runtime_error(what + " is no object");
    }
    return value.get_object();
}

void RequireVersion(const json::object& document) {
    const json::value* const version = document.if_contains("ov-recording");
    if (version == nullptr) {
        throw std::runtime_error("is no recording: it has no \"ov-recording\"");
    }
    if (*version != json::value(kVersion)) {
        throw std::runtime_error("has version " + json::serialize(*version) +
                                 "; this program reads version 1");
    }
}

std::optional<std::int32_t> BuildOf(const json::object& document) {
    const json::value* const build = document.if_contains("build");
    if (build == nullptr || build->is_null()) {
        return std::nullopt;
    }
    json::error_code error;
    const auto number = build->to_number<std::int32_t>(error);
    if (error) {
        throw std::runtime_error("build is no number of 32 bits");
    }
    return number;
}

/// The bytes of then; of a refusal, of which only the status is known, a header with it.
std::optional<Bytes> ReplyOf(const json::object& answer) {
    const json::value* const refused = answer.if_contains("refused");
    if (refused == nullptr || refused->is_null()) {
        return BytesOf(answer, "reply");
    }
    json::error_code error;
    const auto status = refused->to_number<std::uint32_t>(error);
    if (error) {
        throw std::runtime_error("refused is no status");
    }
    return EncodeReply(ErrorReply(status));
}

}  // namespace

CRecording::CRecording(const std::string& path) {
    try {
        const json::value value = ReadDocument(path);
        const json::object& document = ObjectOf(value, "the document");
        RequireVersion(document);
        build_ = BuildOf(document);
        area_ = BytesOf(document, "area").value_or(Bytes());
        const json::value* const answers = document.if_contains("answers");
        if (answers == nullptr || !answers->is_array()) {
            throw std::runtime_error("answers are no array");
        }
        const Base::CLock lock(mutex_);
        for (const json::value& row : answers->get_array()) {
            const json::object& answer = ObjectOf(row, "an answer");
            const std::optional<Bytes> request = BytesOf(answer, "request");
            if (!request) {
                throw std::runtime_error("an answer has no request");
            }
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
