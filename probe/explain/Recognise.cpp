#include "probe/explain/Recognise.h"

namespace Kyr::Probe {

namespace {

constexpr std::size_t kLongestNumber = 20;  // digits of a 64-bit one

/// What a client's code means.
const char* ClientCode(std::string_view code) {
    if (code == "1") {
        return "the port is gone, or the product has ended in the middle";
    }
    if (code == "3") {
        return "this system has no such ports";
    }
    if (code == "4") {
        return "the port cannot be connected: nobody serves it, or somebody else does";
    }
    if (code == "9") {
        return "it took longer than the port allows";
    }
    return nullptr;
}

std::string WithNumber(std::string cause, std::string_view rest) {
    const std::size_t mark = cause.find('%');
    if (mark != std::string::npos) {
        const std::string_view number = LeadingNumber(rest);
        cause.replace(mark, 1, number.empty() ? "that is no number" : std::string(number));
    }
    return cause;
}

bool TellsClientCode(std::string_view text) {
    return text.find("kelcomm error") != std::string_view::npos;
}

Recognised Read(const Pattern& pattern, std::string_view text) {
    const std::string_view known = pattern.text;
    Recognised found;
    found.kind = pattern.kind;
    found.ending = pattern.ending;
    found.rest = text.substr(known.size());
    found.cause = pattern.cause == nullptr ? "" : WithNumber(pattern.cause, found.rest);
    found.next = pattern.next == nullptr ? "" : pattern.next;
    const char* const meaning =
        TellsClientCode(known) ? ClientCode(LeadingNumber(found.rest)) : nullptr;
    if (meaning != nullptr) {
        found.cause += std::string(": ") + meaning;
    }
    return found;
}

}  // namespace

std::string_view LeadingNumber(std::string_view text) {
    std::size_t end = 0;
    while (end < text.size() && end < kLongestNumber && text[end] >= '0' && text[end] <= '9') {
        ++end;
    }
    return text.substr(0, end);
}

Recognised Recognise(std::string_view text) {
    const Pattern* const pattern = FindPattern(text);
    if (pattern == nullptr) {
        return {};
    }
    Recognised found = Read(*pattern, text);
    if (found.kind == LineKind::kConnectFailed && found.cause.empty()) {
        // Why stands behind it, in the words that it has by itself.
        const Pattern* const reason = FindPattern(found.rest);
        const Recognised why = reason == nullptr ? Recognised() : Read(*reason, found.rest);
        found.cause = why.cause.empty() ? "connecting fails with a text that is not the connector's"
                                        : why.cause;
        found.next = why.next;
    }
    return found;
}

}  // namespace Kyr::Probe
