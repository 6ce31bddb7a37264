#include "lab/runner/NeutralTranscript.h"

#include <algorithm>
#include <cctype>
#include <istream>
#include <set>
#include <sstream>

#include "lab/runner/HexText.h"
#include "lab/runner/NeutralRecords.h"
#include "lab/runner/TranscriptStreams.h"

namespace Kyr::Lab::Runner {

namespace {

// Their values say nothing that another run would say again.
const std::set<std::string> kCounters{"id", "client", "context"};
const std::set<std::string> kOfThisRun{"pid", "program", "sha1", "sha256"};

constexpr std::size_t kManyBytes = 64;

bool IsNumber(const std::string& value) {
    return !value.empty() && std::all_of(value.begin(), value.end(), [](unsigned char byte) {
        return std::isdigit(byte) != 0;
    });
}

/// An underscore, too: the 256 of HASH_SHA2_256 is no process.
bool IsWordByte(const std::string& text, std::size_t at) {
    return at < text.size() &&
           (std::isalnum(static_cast<unsigned char>(text[at])) != 0 || text[at] == '_');
}

/// Replaces `value` where it is no part of a longer word.
void ReplaceWord(std::string& text, const std::string& value, const std::string& by) {
    std::size_t at = 0;
    while ((at = text.find(value, at)) != std::string::npos) {
        const std::size_t end = at + value.size();
        if (IsWordByte(text, end) || (at > 0 && IsWordByte(text, at - 1))) {
            at = end;
        } else {
            text.replace(at, value.size(), by);
            at += by.size();
        }
    }
}

bool IsDigit(char byte) {
    return std::isdigit(static_cast<unsigned char>(byte)) != 0;
}

/// The length of what stands at `at` in the form of `shape`, in which x is any hexadecimal and 0
/// any decimal digit; 0 when something else stands there.
std::size_t ShapeAt(const std::string& text, std::size_t at, const std::string& shape) {
    for (std::size_t index = 0; index < shape.size(); ++index) {
        if (at + index >= text.size()) {
            return 0;
        }
        const char byte = text[at + index];
        const bool fits = shape[index] == 'x'
                              ? std::isxdigit(static_cast<unsigned char>(byte)) != 0
                              : (shape[index] == '0' ? IsDigit(byte) : byte == shape[index]);
        if (!fits) {
            return 0;
        }
    }
    return shape.size();
}

/// The length of the identifier at `at`, or 0.
std::size_t UuidAt(const std::string& text, std::size_t at) {
    return ShapeAt(text, at, "xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx");
}

/// The length of the moment in UTC at `at`, with or without parts of a second, or 0.
std::size_t TimeAt(const std::string& text, std::size_t at) {
    std::size_t length = ShapeAt(text, at, "0000-00-00T00:00:00");
    if (length == 0) {
        return 0;
    }
    if (ShapeAt(text, at + length, ".0") != 0) {
        length += 2;
        while (ShapeAt(text, at + length, "0") != 0) {
            ++length;
        }
    }
    return ShapeAt(text, at + length, "Z") == 0 ? 0 : length + 1;
}

/// Replaces all that `lengthAt` finds, unless it is contained in `kept`.
void ReplaceAll(std::string& text, std::size_t (*lengthAt)(const std::string&, std::size_t),
                const std::string& kept, const std::string& by) {
    std::string result;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t length = lengthAt(text, at);
        const std::string own = text.substr(at, std::max<std::size_t>(length, 1));
        result += length == 0 || kept.find(own) != std::string::npos ? own : by;
        at += own.size();
    }
    text = result;
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

/// One of the processes that `actor` started, as it stands before what it tells.
std::string Process(const std::string& actor, int number) {
    std::string text = actor;
    return text.append(" ").append(std::to_string(number)).append(": ");
}

/// A busy module is asked to stop again and again, as often as time passes.
bool IsRepeatedStop(const CLine& line) {
    return line.Kind() == "life" && line.Value("result") == "false";
}

/// In the order of their texts, with the first event of each.
void KeepOneOfEach(std::vector<NeutralLine>& lines) {
    std::stable_sort(
        lines.begin(), lines.end(),
        [](const NeutralLine& left, const NeutralLine& right) { return left.text < right.text; });
    lines.erase(std::unique(lines.begin(), lines.end(),
                            [](const NeutralLine& left, const NeutralLine& right) {
                                return left.text == right.text;
                            }),
                lines.end());
}

}  // namespace

void CNeutralTranscript::Begin(const std::string& actor) {
    const std::lock_guard<std::mutex> lock(mutex_);
    ++processes_[actor];
}

void CNeutralTranscript::Event(const std::string& actor, const CLine& line, std::size_t number) {
    if (IsRepeatedStop(line)) {
        return;
    }
    const std::lock_guard<std::mutex> lock(mutex_);
    events_.push_back({Process(actor, processes_[actor]), line, number});
}

void CNeutralTranscript::Name(const std::string& key, const std::string& value,
                              const std::string& name) {
    if (kOfThisRun.count(key) != 0) {
        const std::lock_guard<std::mutex> lock(mutex_);
        names_.push_back({value, "$" + name, events_.size()});
    }
}

std::string CNeutralTranscript::Text() const {
    std::string text;
    for (const NeutralLine& line : Lines()) {
        text.append(line.text).append("\n");
    }
    return text;
}

std::vector<NeutralLine> CNeutralTranscript::Lines() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    CTranscriptStreams streamOf(std::any_of(
        events_.begin(), events_.end(),
        [](const SeenEvent& event) { return CTranscriptStreams::IsCollection(event.line); }));
    std::map<std::string, std::vector<NeutralLine>> streams;
    for (std::size_t event = 0; event < events_.size(); ++event) {
        const auto& [process, line, number] = events_[event];
        streams[process + streamOf.Of(process, line)].push_back(
            {process + Neutral(line, NamesAt(event)), number});
    }
    std::vector<NeutralLine> all;
    for (const auto& [actor, count] : processes_) {
        for (int number = 1; number <= count; ++number) {
            const std::string process = Process(actor, number);
            for (const std::string& stream : CTranscriptStreams::All()) {
                std::vector<NeutralLine>& lines = streams[process + stream];
                if (stream == CTranscriptStreams::kLook) {
                    KeepOneOfEach(lines);
                }
                all.insert(all.end(), lines.begin(), lines.end());
            }
        }
    }
    return all;
}

CNeutralTranscript::Names CNeutralTranscript::NamesAt(std::size_t event) const {
    Names names;
    for (const KnownName& name : names_) {
        if (name.since <= event) {
            names[name.value] = name.name;  // a number may have been another process's before
        } else {
            names.emplace(name.value, name.name);
        }
    }
    return names;
}

std::string CNeutralTranscript::Neutral(const CLine& line, const Names& names) const {
    // Bytes say how many they are, and a process id in them may have more digits another time.
    const bool hasBytes = line.Find("bytes") != nullptr;
    CLine neutral(line.Kind());
    for (const auto& [key, value] : line.Fields()) {
        if (kCounters.count(key) == 0 && !(hasBytes && key == "length")) {
            neutral.With(key, NeutralField(key, value, names));
        }
    }
    return neutral.Text();
}

std::string CNeutralTranscript::NeutralField(const std::string& key, const std::string& value,
                                             const Names& names) const {
    if (kOfThisRun.count(key) != 0) {
        const auto named = names.find(value);
        return named == names.end() ? "*" : named->second;
    }
    if (key == "bytes") {
        return Readable(NeutralText(NeutralRecords(FromHex(value)), names));
    }
    return IsNumber(value) ? value : NeutralText(value, names);
}

std::string CNeutralTranscript::NeutralText(std::string text, const Names& names) const {
    for (const auto& [value, name] : names) {
        ReplaceWord(text, value, name);
    }
    ReplaceAll(text, UuidAt, given_, "<uuid>");
    ReplaceAll(text, TimeAt, given_, "<time>");
    return text;
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
