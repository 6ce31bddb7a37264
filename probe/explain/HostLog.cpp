#include "probe/explain/HostLog.h"

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <iostream>
#include <optional>
#include <stdexcept>
#include <system_error>

#include "lab/common/LineProtocol.h"

namespace Kyr::Probe {

namespace {

/// What a host writes on purpose is shorter: the longest lines have a request of the server's.
constexpr std::size_t kLongestLine = std::size_t{4} * 1024 * 1024;
constexpr std::string_view kConnector = "COvAgentConnectorModule";

/// False: there is none any more. A line that is too long is empty, and `tooLong` is counted.
bool ReadLine(std::istream& input, std::string& line, std::size_t& tooLong) {
    line.clear();
    bool any = false;
    bool cut = false;
    std::streambuf& buffer = *input.rdbuf();
    for (int byte = buffer.sbumpc(); byte != std::char_traits<char>::eof();
         byte = buffer.sbumpc()) {
        any = true;
        if (byte == '\n') {
            break;
        }
        if (line.size() < kLongestLine) {
            line.push_back(static_cast<char>(byte));
        } else {
            cut = true;
        }
    }
    if (cut) {
        ++tooLong;
        line.clear();
    }
    if (!line.empty() && line.back() == '\r') {
        line.pop_back();
    }
    return any;
}

bool NamesATask(const Lab::CLine& line) {
    return (line.Kind() == "symbols" && line.Value("type") == "10368") ||
           (line.Kind() == "answer" && line.Find("ids") != nullptr);
}

std::optional<HostLine> OfTheLab(const std::string& line) {
    try {
        const Lab::TimedLine read = Lab::ParseLine(line);
        HostLine result;
        result.time = read.time;
        result.kind = read.line.Kind();
        if (result.kind == "log") {
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

/// Of a host that writes another form: what stands behind the connector's name.
std::optional<HostLine> OfAnotherHost(const std::string& line) {
    const std::size_t name = line.find(kConnector);
    if (name == std::string::npos) {
        return std::nullopt;
    }
    const std::size_t begin = line.find_first_not_of(" \t:|]>\"=-", name + kConnector.size());
    if (begin == std::string::npos) {
        return std::nullopt;
    }
    HostLine result;
    result.kind = "log";
    result.text = line.substr(begin);
    return result;
}

}  // namespace

void ReadHostLog(std::istream& input, const std::string& name, HostLog& log) {
    log.files.push_back(name);
    std::string line;
    for (std::size_t number = 1; ReadLine(input, line, log.tooLong); ++number) {
        std::optional<HostLine> read = OfTheLab(line);
        if (!read) {
            read = OfAnotherHost(line);
        }
        if (!read || (read->text.empty() && read->fields.empty())) {
            ++log.others;
            continue;
        }
        read->file = log.files.size() - 1;
        read->number = number;
        log.lines.push_back(std::move(*read));
    }
}

void ReadHostLogFile(const std::string& path, HostLog& log) {
    if (path == "-") {
        ReadHostLog(std::cin, "standard input", log);
        return;
    }
    std::ifstream file(path, std::ios::binary);
    if (file) {
        file.peek();  // a folder can be opened, too, and not be read
    }
    if (file.bad() || !file.is_open()) {
        throw std::runtime_error("cannot read " + Shown(path) + ": " +
                                 std::generic_category().message(errno));
    }
    file.clear();
    ReadHostLog(file, path, log);
}

std::string Shown(std::string_view text, std::size_t limit) {
    std::string shown(text.substr(0, limit));
    std::replace_if(
        shown.begin(), shown.end(), [](char sign) { return sign < ' ' || sign > '~'; }, '?');
    return text.size() > limit ? shown + "..." : shown;
}

}  // namespace Kyr::Probe
