#include "probe/show/Report.h"

#include <algorithm>
#include <iomanip>
#include <ostream>
#include <sstream>
#include <utility>

#include <nlohmann/json.hpp>

#include "probe/decode/FieldReader.h"

namespace Kyr::Probe {

namespace {

using Json = nlohmann::ordered_json;

constexpr char kNoColour[] = "\x1b[0m";

struct TextOf {
    bool isForeign;

    std::string operator()(std::monostate) const { return "-"; }
    std::string operator()(const std::string& text) const {
        return isForeign ? QuotedText(text) : HarmlessText(text);
    }
    std::string operator()(std::uint64_t number) const { return std::to_string(number); }
    std::string operator()(std::int64_t number) const { return std::to_string(number); }
    std::string operator()(double number) const {
        std::ostringstream text;
        text << std::fixed << std::setprecision(3) << number;
        return text.str();
    }
    std::string operator()(bool yes) const { return yes ? "yes" : "no"; }
};

struct JsonOf {
    Json operator()(std::monostate) const { return nullptr; }
    template <typename Other>
    Json operator()(const Other& other) const {
        return other;
    }
};

std::vector<std::string> TextsOf(const Report& report, const std::vector<Value>& row) {
    std::vector<std::string> texts;
    for (std::size_t i = 0; i < row.size(); ++i) {
        const std::string text = std::visit(TextOf{report.columns[i].isForeign}, row[i]);
        if (!report.columns[i].isNext) {
            texts.push_back(text);
        } else if (!std::holds_alternative<std::monostate>(row[i])) {
            texts.back() += " -> " + text;
        }
    }
    return texts;
}

const char* ColourOf(const std::string& verdict) {
    return verdict == "fine"       ? "\x1b[32m"
           : verdict == "doubtful" ? "\x1b[33m"
           : verdict == "wrong"    ? "\x1b[31m"
                                   : nullptr;
}

void WriteLine(std::ostream& out, const std::vector<std::string>& texts,
               const std::vector<std::size_t>& widths, bool coloured) {
    std::string line;
    for (std::size_t i = 0; i < texts.size(); ++i) {
        const char* const colour = coloured && i == 0 ? ColourOf(texts[i]) : nullptr;
        line += colour != nullptr ? colour + texts[i] + kNoColour : texts[i];
        if (i + 1 < texts.size()) {
            line.append(widths[i] - std::min(widths[i], texts[i].size()) + 2, ' ');
        }
    }
    line.erase(line.find_last_not_of(' ') + 1);
    out << line << '\n';
}

void WriteAll(std::ostream& out, const Report& report, bool coloured, bool withNames) {
    std::vector<std::vector<std::string>> lines;
    if (withNames && !report.rows.empty()) {
        lines.emplace_back();
        for (const Column& column : report.columns) {
            if (!column.isNext) {
                lines.back().push_back(column.name);
            }
        }
    }
    for (const std::vector<Value>& row : report.rows) {
        lines.push_back(TextsOf(report, row));
    }
    std::vector<std::size_t> widths(report.columns.size());
    for (const std::vector<std::string>& line : lines) {
        for (std::size_t i = 0; i + 1 < line.size(); ++i) {
            widths[i] = std::max(widths[i], line[i].size());
        }
    }
    for (const std::vector<std::string>& line : lines) {
        WriteLine(out, line, widths, coloured);
    }
}

}  // namespace

void WriteRows(std::ostream& out, const Report& report, bool coloured) {
    WriteAll(out, report, coloured, false);
}

void WriteText(std::ostream& out, const Report& report, bool coloured) {
    WriteAll(out, report, coloured, true);
    for (const std::string& note : report.notes) {
        out << HarmlessText(note) << '\n';
    }
}

std::string ToJson(const Report& report) {
    Json rows = Json::array();
    for (const std::vector<Value>& row : report.rows) {
        Json one = Json::object();
        for (std::size_t i = 0; i < row.size(); ++i) {
            one[report.columns[i].name] = std::visit(JsonOf{}, row[i]);
        }
        rows.push_back(std::move(one));
    }
    Json all = {{"command", report.command},
                {"exit", report.exit},
                {"rows", std::move(rows)},
                {"notes", report.notes}};
    if (report.problem) {
        all["problem"] = {{"cause", report.problem->cause}, {"text", report.problem->text}};
    }
    return all.dump(-1, ' ', false, Json::error_handler_t::replace);
}

}  // namespace Kyr::Probe
