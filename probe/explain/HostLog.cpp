#include "probe/explain/HostLog.h"

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <iostream>
#include <optional>
#include <stdexcept>
#include <system_error>
namespace Kyr::Probe {

namespace {

/// What a host writes on purpose is shorter: the longest lines have a request of the server's.
constexpr std::size_t kLongestLine = std::size_t{4} * 1024 * 1024;
// What a file of SQLite begins with.
constexpr std::string_view kSqlite = "SQLite format 3";

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

std::ifstream Open(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    if (file) {
        file.peek();  // a folder can be opened, too, and not be read
    }
    if (file.bad() || !file.is_open()) {
        throw std::runtime_error(Shown(path) +
                                 " cannot be read: " + std::generic_category().message(errno));
    }
    file.clear();
    return file;
}

}  // namespace

void ReadHostLog(std::istream& input, const std::string& name, HostLog& log) {
    log.files.push_back(name);
    std::string line;
    for (std::size_t number = 1; ReadLine(input, line, log.tooLong); ++number) {
        if (number == 1 && std::string_view(line).substr(0, kSqlite.size()) == kSqlite) {
            throw std::runtime_error(Shown(name) + " is a database, no log");
        }
        std::optional<HostLine> read = ReadHostLine(line);
        if (!read) {
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
    std::ifstream file = Open(path);
    ReadHostLog(file, path, log);
}

void ReadHostLogEnd(const std::string& path, std::streamoff bytes, HostLog& log) {
    std::ifstream file = Open(path);
    file.seekg(0, std::ios::end);
    const std::streamoff begin = std::max(std::streamoff{0}, std::streamoff{file.tellg()} - bytes);
    // From the byte before: a line that begins at `begin` is whole.
    file.seekg(std::max(std::streamoff{0}, begin - 1));
    if (begin != 0) {
        std::string cut;
        std::size_t ignored = 0;
        ReadLine(file, cut, ignored);
    }
    ReadHostLog(file, path, log);
}

std::string Shown(std::string_view text, std::size_t limit) {
    std::string shown(text.substr(0, limit));
    std::replace_if(
        shown.begin(), shown.end(), [](char sign) { return sign < ' ' || sign > '~'; }, '?');
    return text.size() > limit ? shown + "..." : shown;
}

}  // namespace Kyr::Probe
