#include "lab/runner/NeutralTranscript.h"

#include <algorithm>
#include <cctype>
#include <istream>
#include <map>
#include <optional>
#include <regex>
#include <set>
#include <sstream>
#include <tuple>

#include "lab/runner/NeutralRecords.h"
#include "lab/runner/TranscriptStreams.h"

namespace Kyr::Lab::Runner {

namespace {

// Their values say nothing that another run would say again.
const std::set<std::string> kCounters{"id", "client", "context"};
const std::set<std::string> kOfThisRun{"pid", "program", "sha1", "sha256"};

constexpr std::size_t kManyBytes = 64;

bool IsNumber(const std::string& value) {
    return !value.empty() && value.find_first_not_of("0123456789") == std::string::npos;
}

/// An underscore, too: the 256 of HASH_SHA2_256 is no process.
bool IsWordByte(const std::string& text, std::size_t at) {
    return at < text.size() &&
           (std::isalnum(static_cast<unsigned char>(text[at])) != 0 || text[at] == '_');
}

/// A record counts in numbers ("sequence":132); processes are told in quotes, or after a word.
bool IsNumberOfARecord(const std::string& text, std::size_t at) {
    return at >= 2 && text.compare(at - 2, 2, "\":") == 0;
}

/// Replaces `value` where it is no part of a longer word, and no number of a record.
void ReplaceWord(std::string& text, const std::string& value, const std::string& by) {
    std::size_t at = 0;
    while ((at = text.find(value, at)) != std::string::npos) {
        const std::size_t end = at + value.size();
        if (IsWordByte(text, end) || (at > 0 && IsWordByte(text, at - 1)) ||
            IsNumberOfARecord(text, at)) {
            at = end;
        } else {
            text.replace(at, value.size(), by);
            at += by.size();
        }
    }
}

/// Replaces all that has the form, unless it is contained in `kept`.
std::string WithoutForm(const std::string& text, const std::regex& form, const std::string& kept,
                        const std::string& by) {
    std::string result;
    auto rest = text.begin();
    for (std::sregex_iterator at(text.begin(), text.end(), form), end; at != end; ++at) {
        const std::string own = at->str();
        result.append(rest, (*at)[0].first).append(kept.find(own) == std::string::npos ? by : own);
        rest = (*at)[0].second;
    }
    return result.append(rest, text.end());
}

std::string ReadableByte(char byte) {
    constexpr char kDigits[] = "0123456789abcdef";
    const auto code = static_cast<unsigned char>(byte);
    if (code >= ' ' && code < 0x7F && code != '%') {
        return {byte};
    }
    return {'%', kDigits[code >> 4], kDigits[code & 0x0F]};
}

/// Bytes for a person: letters and signs as they are, all others as "%" and two digits. Of many
/// equal ones in a row, one stands with their count.
std::string Readable(const std::string& bytes) {
    std::string text;
    for (std::size_t at = 0; at < bytes.size();) {
        const std::string byte = ReadableByte(bytes[at]);
        const std::size_t end = std::min(bytes.find_first_not_of(bytes[at], at), bytes.size());
        const std::size_t count = end - at;
        if (count > kManyBytes) {
            text.append(byte).append("{").append(std::to_string(count)).append("}");
            at = end;
        } else {
            text += byte;
            ++at;
        }
    }
    return text;
}

std::string NextLine(std::istream& text) {
    std::string line;
    return std::getline(text, line) ? line : "(the end)";
}

/// A busy module is asked to stop again and again, as often as time passes.
bool IsRepeatedStop(const CLine& line) {
    return line.Kind() == "life" && line.Value("result") == "false";
}

/// In the order of their texts, with the first event of each.
void KeepOneOfEach(std::vector<ToldLine>& lines) {
    std::map<std::string, std::size_t> first;
    for (const ToldLine& line : lines) {
        first.emplace(line.text, line.told);
    }
    lines.clear();
    for (const auto& [text, told] : first) {
        lines.push_back({text, told});
    }
}

using Names = std::map<std::string, std::string>;  // by value

/// Those that hold for the event at that place.
Names NamesAt(std::size_t event, const std::vector<KnownName>& known) {
    Names names;
    for (const KnownName& name : known) {
        if (name.since <= event) {
            names[name.value] = name.name;
        } else {
            names.emplace(name.value, name.name);
        }
    }
    return names;
}

std::string NeutralText(std::string text, const Names& names, const std::string& given) {
    static const std::regex kUuid("[0-9a-fA-F]{8}(-[0-9a-fA-F]{4}){3}-[0-9a-fA-F]{12}");
    // In UTC, with or without parts of a second.
    static const std::regex kMoment(R"([0-9]{4}(-[0-9]{2}){2}T[0-9]{2}(:[0-9]{2}){2}(\.[0-9]+)?Z)");
    for (const auto& [value, name] : names) {
        ReplaceWord(text, value, name);
    }
    return WithoutForm(WithoutForm(text, kUuid, given, "<uuid>"), kMoment, given, "<time>");
}

std::string NeutralField(const std::string& key, const std::string& value, const Names& names,
                         const std::string& given) {
    if (kOfThisRun.count(key) != 0) {
        const auto named = names.find(value);
        return named == names.end() ? "*" : named->second;
    }
    return IsNumber(value) ? value : NeutralText(value, names, given);
}

std::string Neutral(const CLine& line, const Names& names, const std::string& given) {
    // Bytes say how many they are, and a process id in them may have more digits another time.
    const std::optional<std::string> bytes = BytesOf(line);
    CLine neutral(line.Kind());
    for (const auto& [key, value] : line.Fields()) {
        if (bytes && key == "bytes") {
            neutral.With(key, Readable(NeutralText(NeutralRecords(*bytes), names, given)));
        } else if (kCounters.count(key) == 0 && !(bytes && key == "length")) {
            neutral.With(key, NeutralField(key, value, names, given));
        }
    }
    return neutral.Text();
}

}  // namespace

void GivenTexts::Name(const std::string& key, const std::string& value, const std::string& name,
                      std::size_t told) {
    if (kOfThisRun.count(key) != 0) {
        names.push_back({value, "$" + name, told});
    }
}

std::vector<ToldLine> NeutralLines(const std::vector<ToldEvent>& told,
                                   const std::vector<LifePage::Process>& processes,
                                   const GivenTexts& given) {
    CTranscriptStreams streamOf(std::any_of(told.begin(), told.end(), [](const ToldEvent& event) {
        return CTranscriptStreams::IsCollection(event.line);
    }));
    const std::vector<std::string>& order = CTranscriptStreams::All();
    using Place = std::tuple<std::string, std::size_t, std::size_t>;  // actor, process, stream
    std::map<Place, std::vector<ToldLine>> streams;
    for (std::size_t at = 0; at < told.size(); ++at) {
        const auto& [moment, actor, process, line] = told[at];
        const std::string& name = processes.at(process).name;
        const auto stream = std::find(order.begin(), order.end(), streamOf.Of(name, line));
        if (stream != order.end() && !IsRepeatedStop(line)) {
            streams[{actor, process, static_cast<std::size_t>(stream - order.begin())}].push_back(
                {name + ": " + Neutral(line, NamesAt(at, given.names), given.text), at});
        }
    }
    std::vector<ToldLine> all;
    for (auto& [place, lines] : streams) {
        if (order[std::get<2>(place)] == CTranscriptStreams::kLook) {
            KeepOneOfEach(lines);
        }
        all.insert(all.end(), lines.begin(), lines.end());
    }
    return all;
}

std::string FirstDifference(const std::string& expected, const std::string& told) {
    if (expected == told) {
        return "";
    }
    std::istringstream left(expected);
    std::istringstream right(told);
    for (std::size_t number = 1;; ++number) {
        const std::string one = NextLine(left);
        const std::string other = NextLine(right);
        if (one != other || (!left && !right)) {
            std::string difference = "line ";
            difference.append(std::to_string(number)).append(" is ").append(other);
            return difference.append(" instead of ").append(one);
        }
    }
}

}  // namespace Kyr::Lab::Runner
