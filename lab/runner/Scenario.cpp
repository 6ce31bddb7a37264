#include "lab/runner/Scenario.h"

#include <algorithm>
#include <cctype>
#include <map>
#include <sstream>

#include <boost/algorithm/string/trim.hpp>

#include "lab/common/LineScanner.h"
#include "lab/runner/EventKinds.h"

namespace Kyr::Lab::Runner {

namespace {

constexpr std::chrono::milliseconds kDefaultPatience = std::chrono::seconds(15);

bool IsActor(const std::string& word) {
    return word == "product" || word == "host";
}

/// The statement of one line: its first word, and what follows, as words or as it stands.
class CWords {
  public:
    CWords(std::size_t line, const std::string& text)
        : line_(line), text_(boost::algorithm::trim_copy(text)), scanner_(text_) {}
    CWords(const CWords&) = delete;
    CWords& operator=(const CWords&) = delete;

    std::string Next(const char* wanted) {
        Require(wanted);
        try {
            std::string word = scanner_.TakeWord();
            scanner_.SkipBlanks();
            return word;
        } catch (const std::invalid_argument& e) {
            throw CScenarioError(line_, e.what());
        }
    }

    /// All that follows, as it stands.
    std::string Rest(const char* wanted) {
        Require(wanted);
        return std::string(scanner_.TakeWhile([](char) { return true; }));
    }

    std::string NextActor() {
        std::string word = Next("\"product\" or \"host\"");
        if (!IsActor(word)) {
            throw CScenarioError(line_, "\"" + word + "\" is neither \"product\" nor \"host\"");
        }
        return word;
    }

    /// A number followed by "ms" or "s".
    std::chrono::milliseconds NextDuration() {
        const std::string word = Next("a duration such as 5s or 200ms");
        const std::size_t digits = word.find_first_not_of("0123456789");
        if (digits != 0 && digits != std::string::npos && digits <= 6) {
            const int number = std::stoi(word.substr(0, digits));
            const std::string unit = word.substr(digits);
            if (unit == "ms") {
                return std::chrono::milliseconds(number);
            }
            if (unit == "s") {
                return std::chrono::seconds(number);
            }
        }
        throw CScenarioError(line_, "\"" + word + "\" is no duration such as 5s or 200ms");
    }

    bool AtEnd() const { return scanner_.AtEnd(); }
    std::size_t Line() const { return line_; }

  private:
    void Require(const char* wanted) const {
        if (AtEnd()) {
            throw CScenarioError(line_, std::string("expected ") + wanted);
        }
    }

    const std::size_t line_;
    const std::string text_;
    CLineScanner scanner_;
};

/// What no program can tell is refused: `never` would hold for it whatever happens.
template <typename Check>
auto Checked(const CWords& words, Check check) {
    try {
        return check();
    } catch (const std::invalid_argument& e) {
        throw CScenarioError(words.Line(), e.what());
    }
}

EventPattern ParseKind(CWords& words, const std::string& actor, const std::string& kind) {
    Checked(words, [&] { return KnownKind(actor, kind); });
    return {kind, {}};
}

/// One more field of the pattern's events.
void AddField(CWords& words, const std::string& actor, const std::string& word,
              EventPattern& pattern) {
    const std::size_t sign = word.find_first_of("=~");
    if (sign == std::string::npos) {
        throw CScenarioError(words.Line(),
                             "\"" + word + "\" is no field such as pid=7 or text~Ping");
    }
    FieldMatch field{word.substr(0, sign),
                     word[sign] == '=' ? FieldMatch::Kind::kEquals : FieldMatch::Kind::kContains,
                     word.substr(sign + 1)};
    Checked(words, [&] { CheckKey(KnownKind(actor, pattern.kind), field.key); });
    pattern.fields.push_back(std::move(field));
}

template <bool kThen>
Statement ParseExpect(CWords& words) {
    const std::string actor = words.NextActor();
    EventPattern pattern = ParseKind(words, actor, words.Next("a kind of event"));
    std::optional<std::chrono::milliseconds> within;
    std::optional<std::chrono::milliseconds> after;
    std::optional<std::string> name;
    while (!words.AtEnd()) {
        const std::string word = words.Next("");
        if (word == "within") {
            within = words.NextDuration();
        } else if (word == "as") {
            name = words.Next("a name");
        } else if (kThen && word == "after") {
            after = words.NextDuration();
        } else {
            AddField(words, actor, word, pattern);
        }
    }
    const auto patience = kDefaultPatience + after.value_or(std::chrono::milliseconds(0));
    return ExpectStatement{actor, pattern, within.value_or(patience), name, kThen, after};
}

template <bool kWholeStep>
Statement ParseNever(CWords& words) {
    NeverStatement never{words.NextActor(), {}, kWholeStep};
    while (never.patterns.empty() || !words.AtEnd()) {
        const std::string word = words.Next("a kind of event");
        if (never.patterns.empty() || word.find_first_of("=~") == std::string::npos) {
            never.patterns.push_back(ParseKind(words, never.actor, word));
        } else {
            AddField(words, never.actor, word, never.patterns.back());
        }
    }
    return never;
}

Statement ParseStart(CWords& words) {
    StartStatement start{words.NextActor(), {}};
    while (!words.AtEnd()) {
        start.arguments.push_back(words.Next(""));
    }
    return start;
}

Statement ParseGone(CWords& words) {
    GoneStatement gone{words.NextActor(), kDefaultPatience};
    if (!words.AtEnd()) {
        if (words.Next("") != "within") {
            throw CScenarioError(words.Line(), "expected \"within\" and a duration");
        }
        gone.within = words.NextDuration();
    }
    return gone;
}

template <typename Kind>
Statement ParseText(CWords& words) {
    return Kind{words.Rest("a text")};
}

template <typename Kind>
Statement ParseActor(CWords& words) {
    return Kind{words.NextActor()};
}

template <typename Kind>
Statement ParseWait(CWords& words) {
    const std::chrono::milliseconds duration = words.NextDuration();
    return Kind{duration, words.Rest("what is waited for")};
}

Statement ParseStatement(CWords& words) {
    static const std::map<std::string, Statement (*)(CWords&)> kStatements{
        {"step", ParseText<StepStatement>},
        {"say", ParseText<SayStatement>},
        {"start", ParseStart},
        {"kill", ParseActor<KillStatement>},
        {"quit", ParseActor<QuitStatement>},
        {"gone", ParseGone},
        {"expect", ParseExpect<false>},
        {"then", ParseExpect<true>},
        {"never", ParseNever<false>},
        {"only", ParseNever<true>},
        {"countdown", ParseWait<CountdownStatement>},
        {"wait", ParseWait<WaitStatement>}};
    const std::string word = words.Next("a statement");
    if (IsActor(word)) {
        return CommandStatement{word, words.Rest("a command")};
    }
    const auto known = kStatements.find(word);
    if (known == kStatements.end()) {
        throw CScenarioError(words.Line(), "\"" + word + "\" is no statement");
    }
    return known->second(words);
}

/// Whether the statement can fail for something that a program did or did not do.
bool Expects(const NumberedStatement& numbered) {
    const Statement& statement = numbered.statement;
    return std::holds_alternative<ExpectStatement>(statement) ||
           std::holds_alternative<NeverStatement>(statement) ||
           std::holds_alternative<GoneStatement>(statement) ||
           std::holds_alternative<QuitStatement>(statement);
}

}  // namespace

CScenarioError::CScenarioError(std::size_t line, const std::string& text)
    : std::runtime_error("line " + std::to_string(line) + ": " + text) {}

Scenario ParseScenario(const std::string& text) {
    Scenario scenario;
    std::istringstream lines(text);
    std::string line;
    std::size_t number = 1;
    bool expected = false;  // something, in this step
    for (; std::getline(lines, line); ++number) {
        CWords words(number, line);
        if (words.AtEnd() || boost::algorithm::trim_left_copy(line).front() == '#') {
            continue;
        }
        if (scenario.title.empty()) {
            if (words.Next("a title") != "title") {
                throw CScenarioError(number, "a scenario begins with its title");
            }
            scenario.title = words.Rest("the title's text");
            continue;
        }
        scenario.statements.push_back({number, ParseStatement(words)});
        const Statement& statement = scenario.statements.back().statement;
        if (const auto* const expect = std::get_if<ExpectStatement>(&statement)) {
            if (expect->then && !expected) {
                throw CScenarioError(number, "nothing is expected before it in its step");
            }
            expected = true;
        } else if (std::holds_alternative<StepStatement>(statement)) {
            expected = false;
        }
        if (!words.AtEnd()) {
            throw CScenarioError(number, "\"" + words.Rest("") + "\" is left over");
        }
    }
    if (scenario.title.empty()) {
        throw CScenarioError(number, "a scenario begins with its title");
    }
    if (std::none_of(scenario.statements.begin(), scenario.statements.end(), Expects)) {
        throw CScenarioError(number, "a scenario must expect something: nothing can fail here");
    }
    return scenario;
}

std::string Substitute(const std::string& text,
                       const std::vector<std::pair<std::string, std::string>>& variables) {
    std::string result;
    std::size_t at = 0;
    while (at < text.size()) {
        const std::size_t dollar = text.find('$', at);
        result += text.substr(at, dollar - at);
        if (dollar == std::string::npos) {
            break;
        }
        std::size_t end = dollar + 1;
        while (end < text.size() && (std::isalnum(static_cast<unsigned char>(text[end])) != 0 ||
                                     text[end] == '.' || text[end] == '_')) {
            ++end;
        }
        const std::string name = text.substr(dollar + 1, end - dollar - 1);
        // The latest value counts: a name may be given again.
        auto known = variables.rbegin();
        while (known != variables.rend() && known->first != name) {
            ++known;
        }
        if (known == variables.rend()) {
            throw std::runtime_error("$" + name + " has no value yet");
        }
        result += known->second;
        at = end;
    }
    return result;
}

}  // namespace Kyr::Lab::Runner
