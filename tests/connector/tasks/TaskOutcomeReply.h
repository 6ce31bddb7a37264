// Task-status replies as the product sends them.
#pragma once

#include <string>
#include <vector>

#include "tests/support/HexBytes.h"

namespace Kyr::Connectors::Common::Tasks {

/// The identifiers of one task message, in their declared order, joined as its request has them.
constexpr char kUserData[] =
    "11111111-1111-1111-1111-111111111111;22222222-2222-2222-2222-222222222222;"
    "33333333-3333-3333-3333-333333333333";

/// What ends a chain: a reply without payload.
inline std::vector<unsigned char> NoOutcomeReply() {
    return Kyr::Test::HexBytes("0C 00 00 00  00 00 00 00  00 00 00 00");
}

/// The outcome `word` (below 256) of the task with these user data (ASCII, at most 116 of it).
inline std::vector<unsigned char> OutcomeReply(unsigned char word,
                                               const std::string& userData = kUserData) {
    using Kyr::Test::operator+;
    std::vector<unsigned char> units;
    for (const char character : userData) {
        units.push_back(static_cast<unsigned char>(character));
        units.push_back(0);
    }
    return Kyr::Test::HexBytes("0C 00 00 00  00 00 00 00") +
           std::vector<unsigned char>{static_cast<unsigned char>(14 + units.size()), 0, 0, 0} +
           Kyr::Test::HexBytes("EE EE EE EE") + std::vector<unsigned char>{word, 0, 0, 0} +
           Kyr::Test::HexBytes("0C 00 00 00") + units + std::vector<unsigned char>{0, 0};
}

}  // namespace Kyr::Connectors::Common::Tasks
