#include "probe/explain/LineForms.h"

#include <algorithm>
#include <iterator>
#include <stdexcept>
#include <string_view>

#include "lab/common/LineProtocol.h"
#include "probe/explain/Patterns.h"

namespace Kyr::Probe {

namespace {

constexpr std::string_view kConnector = "COvAgentConnectorModule";
// The lab's host says who has written a line; its modules have their own names.
constexpr std::string_view kSource = "COvAgentConnector";
constexpr std::string_view kBetween = " \t:|]>\"=-,;";

/// What hosts write between a name and a text, beside signs.
constexpr std::string_view kLevels[] = {"trace",  "debug", "info",    "information",
                                        "notice", "warn",  "error",   "warning",
                                        "err",    "fatal", "critical"};

bool IsLetter(char sign) {
    return (sign >= 'a' && sign <= 'z') || (sign >= 'A' && sign <= 'Z');
}

bool IsDigit(char sign) {
    return sign >= '0' && sign <= '9';
}

bool NamesATask(const Lab::CLine& line) {
    return (line.Kind() == "symbols" && line.Value("type") == "10368") ||
           (line.Kind() == "answer" && line.Find("ids") != nullptr);
}

std::optional<HostLine> OfTheLab(const std::string& line) {
    // Most lines of other hosts are told apart without the cost of an exception.
    if (line.size() < 3 || !IsDigit(line[0]) || line[2] != ':') {
        return std::nullopt;
    }
    try {
        const Lab::TimedLine read = Lab::ParseLine(line);
        HostLine result;
        result.time = read.time;
        result.stamp = read.stamp;
        result.kind = read.line.Kind();
        if (result.kind == "log") {
            if (read.line.Value("source").rfind(kSource, 0) != 0) {
                return result;  // without a text
            }
            result.text = read.line.Value("text");
            const std::string level = read.line.Value("level");
            result.level =
                level.size() == 1 && level[0] >= '1' && level[0] <= '4' ? level[0] - '0' : 0;
        } else if (NamesATask(read.line)) {
            result.fields.insert(read.line.Fields().begin(), read.line.Fields().end());
        }
        return result;
    } catch (const std::invalid_argument&) {
        return std::nullopt;
    }
}

bool IsLevel(std::string_view word) {
    return std::any_of(std::begin(kLevels), std::end(kLevels), [&](std::string_view level) {
        return level.size() == word.size() &&
               std::equal(level.begin(), level.end(), word.begin(),
                          [](char one, char other) { return one == (other | ' '); });
    });
}

/// How many bytes at the beginning are a level, a number, a key or something in brackets, and so
/// no text; 0: a text begins.
std::size_t LengthOfHead(std::string_view text) {
    if (text.empty()) {
        return 0;
    }
    if (text[0] == '[' || text[0] == '(' || text[0] == '{') {
        const char close = text[0] == '[' ? ']' : text[0] == '(' ? ')' : '}';
        const std::size_t end = text.find(close);
        return end == std::string_view::npos ? 0 : end + 1;
    }
    std::size_t end = 0;
    while (end < text.size() && (IsLetter(text[end]) || IsDigit(text[end]) || text[end] == '_')) {
        ++end;
    }
    const std::string_view word = text.substr(0, end);
    const std::string_view behind = text.substr(end, 2);
    const bool isKey = behind.substr(0, 1) == "=" || behind == "\":" || behind == "\"=";
    const bool isNumber = std::all_of(word.begin(), word.end(), IsDigit);
    return isKey || isNumber || IsLevel(word) ? end : 0;
}

/// What stands in quotes, without the marks that escape quotes in it.
std::string Unquoted(std::string_view text) {
    std::string plain;
    for (std::size_t at = 0; at < text.size() && text[at] != '"'; ++at) {
        const bool isEscape = text[at] == '\\' && at + 1 < text.size() &&
                              (text[at + 1] == '"' || text[at + 1] == '\\');
        at += isEscape ? 1 : 0;
        plain.push_back(text[at]);
    }
    return plain;
}

std::optional<HostLine> OfAnotherHost(const std::string& line) {
    const std::size_t name = line.find(kConnector);
    if (name == std::string::npos) {
        return std::nullopt;
    }
    const std::string_view all = line;
    const std::size_t behind = name + kConnector.size();
    std::size_t begin = all.find_first_not_of(kBetween, behind);
    // One of the connector's texts may look like a head.
    while (begin != std::string_view::npos && FindPattern(all.substr(begin)) == nullptr) {
        const std::size_t head = LengthOfHead(all.substr(begin));
        if (head == 0) {
            break;
        }
        begin = all.find_first_not_of(kBetween, begin + head);
    }
    if (begin == std::string_view::npos) {
        return std::nullopt;
    }
    HostLine result;
    result.kind = "log";
    const std::string_view text = all.substr(begin);
    result.text = all[begin - 1] == '"' ? Unquoted(text) : std::string(text);
    return result;
}

}  // namespace

std::optional<HostLine> ReadHostLine(const std::string& line) {
    std::optional<HostLine> read = OfTheLab(line);
    if (!read) {
        read = OfAnotherHost(line);
    }
    if (read && read->text.empty() && read->fields.empty()) {
        read.reset();
    }
    return read;
}

}  // namespace Kyr::Probe
