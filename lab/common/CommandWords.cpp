#include "lab/common/CommandWords.h"

#include <charconv>
#include <limits>
#include <stdexcept>

#include "lab/common/LineScanner.h"

namespace Kyr::Lab {

std::vector<std::string> SplitWords(std::string_view command) {
    const auto isBlank = [](char byte) { return byte == ' ' || byte == '\t' || byte == '\r'; };
    CLineScanner scanner(command);
    std::vector<std::string> words;
    for (;;) {
        scanner.TakeWhile(isBlank);
        if (scanner.AtEnd()) {
            return words;
        }
        std::string& word = words.emplace_back();
        while (!scanner.AtEnd() && !isBlank(scanner.Peek())) {
            if (scanner.Peek() == '"') {
                word += scanner.TakeQuoted();
            } else {
                word += scanner.Peek();
                scanner.Skip();
            }
        }
    }
}

std::uint64_t ParseNumber(std::string_view text) {
    const bool hexadecimal = text.substr(0, 2) == "0x";
    const std::string_view digits = hexadecimal ? text.substr(2) : text;
    std::uint64_t number = 0;
    const char* const end = digits.data() + digits.size();
    const auto result = std::from_chars(digits.data(), end, number, hexadecimal ? 16 : 10);
    if (result.ec != std::errc() || result.ptr != end) {
        throw std::invalid_argument("'" + std::string(text) + "' is not a number");
    }
    return number;
}

std::uint32_t ParseNumber32(std::string_view text) {
    const std::uint64_t number = ParseNumber(text);
    if (number > std::numeric_limits<std::uint32_t>::max()) {
        throw std::invalid_argument("'" + std::string(text) + "' is too large");
    }
    return static_cast<std::uint32_t>(number);
}

}  // namespace Kyr::Lab
