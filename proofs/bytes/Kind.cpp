#include "proofs/bytes/Kind.h"

namespace Kyr::Proofs::Bytes {

std::string ClassOf(const std::string& outcome) {
    const auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
    std::string text;
    for (std::size_t i = 0; i < outcome.size(); ++i) {
        const bool stays = i == 0 || outcome[i - 1] == '-';
        if (!isDigit(outcome[i]) || stays) {
            text += outcome[i];
        } else if (text.back() != '#') {
            text += '#';
        }
    }
    return text;
}

Effort& CurrentEffort() {
    static Effort effort;
    return effort;
}

Finding Compare(const Result& got, const Result& expected) {
    Finding finding{{ClassOf(got.outcome)}, ""};
    if (got.outcome != expected.outcome) {
        finding.problem = "\"" + got.outcome + "\" instead of \"" + expected.outcome + "\"";
    } else if (got.detail != expected.detail) {
        finding.problem = got.outcome + ", but " + got.detail + " instead of " + expected.detail;
    }
    return finding;
}

}  // namespace Kyr::Proofs::Bytes
