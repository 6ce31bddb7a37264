#include "lab/runner/Scenario.h"

#include <algorithm>
#include <regex>
#include <sstream>
#include <stdexcept>
#include <utility>

#include <boost/algorithm/string/trim.hpp>

#include "lab/common/LineScanner.h"
#include "lab/runner/EventKinds.h"

namespace Kyr::Lab::Runner {

namespace {

constexpr std::chrono::milliseconds kDefaultPatience = std::chrono::seconds(15);

bool IsActor(const std::string& word) {
    return word == "product" || word == "host";
}

/// The words of one line. What reads them throws std::invalid_argument, without the line.
using Words = CLineScanner;

void Require(const Words& words, const char* wanted) {
    if (words.AtEnd()) {
        throw std::invalid_argument(std::string("expected ") + wanted);
    }
}

std::string Next(Words& words, const char* wanted) {
    Require(words, wanted);
    std::string word = words.TakeWord();
    words.SkipBlanks();
    return word;
}

/// All that follows, as it stands.
std::string Rest(Words& words, const char* wanted) {
    Require(words, wanted);
    return std::string(words.TakeWhile([](char) { return true; }));
}

std::string NextActor(Words& words) {
    std::string word = Next(words, "\"product\" or \"host\"");
    if (!IsActor(word)) {
        throw std::invalid_argument("\"" + word + "\" is neither \"product\" nor \"host\"");
    }
    return word;
}

std::chrono::milliseconds NextDuration(Words& words) {
    static const std::regex kForm("([0-9]{1,6})(ms|s)");
    const std::string word = Next(words, "a duration such as 5s or 200ms");
    std::smatch parts;
    if (!std::regex_match(word, parts, kForm)) {
        throw std::invalid_argument("\"" + word + "\" is no duration such as 5s or 200ms");
    }
    const std::chrono::milliseconds number(std::stoi(parts[1]));
    return parts[2] == "s" ? number * 1000 : number;
}

/// One more kind of events. What no program can tell is refused: `never` would hold for it
/// whatever happens.
void AddPattern(const std::string& kind, Statement& statement) {
    KnownKind(statement.actor, kind);
    statement.patterns.push_back({kind, {}});
}

/// One more field of the last pattern's events.
void AddField(const std::string& word, Statement& statement) {
    const std::size_t sign = word.find_first_of("=~");
    if (sign == std::string::npos) {
        throw std::invalid_argument("\"" + word + "\" is no field such as pid=7 or text~Ping");
    }
    EventPattern& pattern = statement.patterns.back();
    FieldMatch field{word.substr(0, sign),
                     word[sign] == '=' ? FieldMatch::Kind::kEquals : FieldMatch::Kind::kContains,
                     word.substr(sign + 1)};
    CheckKey(KnownKind(statement.actor, pattern.kind), field.key);
    pattern.fields.push_back(std::move(field));
}

void ReadText(Words& words, Statement& statement) {
    statement.text = Rest(words, "a text");
}

void ReadActor(Words& words, Statement& statement) {
    statement.actor = NextActor(words);
}

void ReadStart(Words& words, Statement& statement) {
    statement.actor = NextActor(words);
    while (!words.AtEnd()) {
        statement.arguments.push_back(Next(words, ""));
    }
}

void ReadGone(Words& words, Statement& statement) {
    statement.actor = NextActor(words);
    statement.duration = kDefaultPatience;
    if (!words.AtEnd()) {
        if (Next(words, "") != "within") {
            throw std::invalid_argument("expected \"within\" and a duration");
        }
        statement.duration = NextDuration(words);
    }
}

void ReadExpectation(Words& words, Statement& statement) {
    statement.actor = NextActor(words);
    AddPattern(Next(words, "a kind of event"), statement);
    std::optional<std::chrono::milliseconds> within;
    while (!words.AtEnd()) {
        const std::string word = Next(words, "");
        if (word == "within") {
            within = NextDuration(words);
        } else if (word == "as") {
            statement.name = Next(words, "a name");
        } else if (word == "after" && statement.verb == Verb::kThen) {
            statement.after = NextDuration(words);
        } else {
            AddField(word, statement);
        }
    }
    const auto patience = kDefaultPatience + statement.after.value_or(std::chrono::milliseconds());
    statement.duration = within.value_or(patience);
}

void ReadForbidden(Words& words, Statement& statement) {
    statement.actor = NextActor(words);
    AddPattern(Next(words, "a kind of event"), statement);
    while (!words.AtEnd()) {
        const std::string word = Next(words, "");
        if (word.find_first_of("=~") == std::string::npos) {
            AddPattern(word, statement);
        } else {
            AddField(word, statement);
        }
    }
}

void ReadWait(Words& words, Statement& statement) {
    statement.duration = NextDuration(words);
    statement.text = Rest(words, "what is waited for");
}

/// What stands behind a statement's first word, and whether the statement can fail for something
/// that a program did or did not do.
struct Form {
    Verb verb;
    void (*read)(Words& words, Statement& statement);
    bool expects = false;
};

const std::map<std::string, Form> kForms{{"step", {Verb::kStep, ReadText}},
                                         {"say", {Verb::kSay, ReadText}},
                                         {"start", {Verb::kStart, ReadStart}},
                                         {"kill", {Verb::kKill, ReadActor}},
                                         {"quit", {Verb::kQuit, ReadActor, true}},
                                         {"gone", {Verb::kGone, ReadGone, true}},
                                         {"expect", {Verb::kExpect, ReadExpectation, true}},
                                         {"then", {Verb::kThen, ReadExpectation, true}},
                                         {"never", {Verb::kNever, ReadForbidden, true}},
                                         {"only", {Verb::kOnly, ReadForbidden, true}},
                                         {"countdown", {Verb::kCountdown, ReadWait}},
                                         {"wait", {Verb::kWait, ReadWait}}};

/// Takes the lines of a scenario one by one.
/// Errors: std::invalid_argument, without the line.
class CScenarioReader {
  public:
    void Take(std::size_t number, const std::string& line) {
        const std::string trimmed = boost::algorithm::trim_copy(line);
        if (trimmed.empty() || trimmed.front() == '#') {
            return;
        }
        Words words(trimmed);
        if (scenario_.title.empty()) {
            TakeTitle(words);
            return;
        }
        scenario_.statements.push_back(Read(number, words));
        if (!words.AtEnd()) {
            throw std::invalid_argument("\"" + Rest(words, "") + "\" is left over");
        }
    }

    Scenario Finish() {
        if (scenario_.title.empty()) {
            throw std::invalid_argument(kNoTitle);
        }
        if (!expects_) {
            throw std::invalid_argument("a scenario must expect something: nothing can fail here");
        }
        return std::move(scenario_);
    }

  private:
    static constexpr char kNoTitle[] = "a scenario begins with its title";

    void TakeTitle(Words& words) {
        if (Next(words, "a title") != "title") {
            throw std::invalid_argument(kNoTitle);
        }
        scenario_.title = Rest(words, "the title's text");
    }

    Statement Read(std::size_t number, Words& words) {
        const std::string word = Next(words, "a statement");
        if (IsActor(word)) {
            return {Verb::kCommand, number, word, Rest(words, "a command")};
        }
        const auto form = kForms.find(word);
        if (form == kForms.end()) {
            throw std::invalid_argument("\"" + word + "\" is no statement");
        }
        Statement statement{form->second.verb, number};
        form->second.read(words, statement);
        expects_ = expects_ || form->second.expects;
        CheckOrder(statement.verb);
        return statement;
    }

    void CheckOrder(Verb verb) {
        if (verb == Verb::kThen && !expectedInStep_) {
            throw std::invalid_argument("nothing is expected before it in its step");
        }
        expectedInStep_ = verb == Verb::kExpect || (expectedInStep_ && verb != Verb::kStep);
    }

    Scenario scenario_;
    bool expects_ = false;         // a statement can fail
    bool expectedInStep_ = false;  // an event
};

}  // namespace

Scenario ParseScenario(const std::string& text) {
    CScenarioReader reader;
    std::istringstream lines(text);
    std::size_t number = 1;
    try {
        for (std::string line; std::getline(lines, line); ++number) {
            reader.Take(number, line);
        }
        return reader.Finish();
    } catch (const std::invalid_argument& e) {
        throw std::runtime_error("line " + std::to_string(number) + ": " + e.what());
    }
}

std::string Substitute(const std::string& text,
                       const std::map<std::string, std::string>& variables) {
    static const std::regex kName(R"(\$([A-Za-z0-9._]*))");
    std::string result;
    std::string rest = text;
    for (std::smatch match; std::regex_search(rest, match, kName);) {
        const auto known = variables.find(match[1]);
        if (known == variables.end()) {
            throw std::runtime_error(match.str() + " has no value yet");
        }
        result += match.prefix().str() + known->second;
        rest = match.suffix();
    }
    return result + rest;
}

}  // namespace Kyr::Lab::Runner
