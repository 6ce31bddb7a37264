#include "probe/Input.h"

#include <cctype>
#include <fstream>
#include <iostream>
#include <iterator>
#include <sstream>
#include <stdexcept>

namespace Kyr::Probe {

namespace {

int DigitOf(char character) {
    if (character >= '0' && character <= '9') {
        return character - '0';
    }
    const int lower = std::tolower(static_cast<unsigned char>(character));
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

/// Where the digits of a line begin: behind an offset, which has more than a byte's two.
std::size_t BehindOffset(const std::string& line) {
    std::size_t digits = 0;
    while (digits < line.size() && DigitOf(line[digits]) >= 0) {
        ++digits;
    }
    const bool isOffset = digits >= 4 && digits < line.size() &&
                          (line[digits] == ':' || line.compare(digits, 2, "  ") == 0);
    return isOffset ? digits + 1 : 0;
}

void AppendLine(const std::string& line, std::string& bytes) {
    const std::size_t begin = BehindOffset(line);
    const std::string digits = line.substr(begin, line.find("   ", begin + 1) - begin);
    int high = -1;
    for (const char character : digits) {
        if (std::isspace(static_cast<unsigned char>(character)) != 0) {
            continue;
        }
        const int digit = DigitOf(character);
        if (digit < 0) {
            throw std::runtime_error(std::string("no hexadecimal digit: ") + character);
        }
        if (high < 0) {
            high = digit;
        } else {
            bytes.push_back(static_cast<char>(high << 4 | digit));
            high = -1;
        }
    }
    if (high >= 0) {
        throw std::runtime_error("half a byte at the end of a line");
    }
}

}  // namespace

std::string ReadInput(const std::string& name) {
    if (name == "-") {
        return {std::istreambuf_iterator<char>(std::cin), {}};
    }
    std::ifstream file(name, std::ios::binary);
    std::string bytes(std::istreambuf_iterator<char>(file), {});
    if (!file.is_open() || file.bad()) {
        throw std::runtime_error(name + ": cannot be read");
    }
    return bytes;
}

std::string FromHexText(const std::string& text) {
    std::istringstream lines(text);
    std::string bytes;
    for (std::string line; std::getline(lines, line);) {
        AppendLine(line, bytes);
    }
    return bytes;
}

}  // namespace Kyr::Probe
